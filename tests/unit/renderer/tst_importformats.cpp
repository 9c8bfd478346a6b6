#include "tests/support/testmain.h"
#include "tests/unit/renderer/fbxfiles.h"
#include "tests/unit/renderer/importtestbase.h"
#include "viewer/renderer/import/objcheck.h"

#include <QtEndian>

using namespace importing;
using gltffiles::Builder;

class ImportFormatsTest : public ImportTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void allMaterialLibrariesOfAnObjAreRead_data();
    void allMaterialLibrariesOfAnObjAreRead();
    void missingLibrariesAreNamedOnceEach();
    void whatAnObjHoldsInVainIsNoted();
    void optionsBeforeATextureMayBeShort_data();
    void optionsBeforeATextureMayBeShort();

    void bothFormsOfAnStlAreTold_data();
    void bothFormsOfAnStlAreTold();

    void markBeforeGltfTextIsSkipped();
    void firstBufferOfAGlbMayBeElsewhere();
    void deepNodesAreRefusedBeforeAssimp();

    void axesOfAnFbxAreReadAsTheyStand();
    void pictureInAnFbxIsFound();
    void modelsOfAnFbxInThemselvesAreRefused();

    void inconsistentFilesAreRefused_data();
    void inconsistentFilesAreRefused();
};

void ImportFormatsTest::allMaterialLibrariesOfAnObjAreRead_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::newRow("a line each") << QByteArray("mtllib red.mtl\n") << QByteArray("mtllib green.mtl\n");
    QTest::newRow("both lines before the faces") << QByteArray("mtllib red.mtl\nmtllib green.mtl\n") << QByteArray();
    QTest::newRow("both on one line") << QByteArray("mtllib red.mtl  green.mtl \r\n") << QByteArray();
    QTest::newRow("each line twice") << QByteArray("mtllib red.mtl\nmtllib red.mtl\n")
                                     << QByteArray("mtllib green.mtl\n  mtllib red.mtl\nmtllib green.mtl\n");
    QTest::newRow("a missing one between them")
        << QByteArray("mtllib red.mtl\nmtllib gone.mtl\n") << QByteArray("mtllib green.mtl\n");
    QTest::newRow("the same one again behind the faces")
        << QByteArray("mtllib both of them.mtl\n") << QByteArray("mtllib both of them.mtl\n");
}

void ImportFormatsTest::allMaterialLibrariesOfAnObjAreRead()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    const QByteArray red = "newmtl red\nKd 1 0 0\n", green = "newmtl green\nKd 0 1 0\n";
    m_folder->write("red.mtl", red);
    m_folder->write("green.mtl", green);
    m_folder->write("both of them.mtl", red + green);
    const ImportResult result =
        obj(first + "v 0 0 0\nv 1 0 0\nv 0 2 0\nusemtl red\nf 1 2 3\n" + second + "usemtl green\nf 3 2 1\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.materials.size(), std::size_t{2});
    QVERIFY(colourOf(result.model.materials[0]).redF() > 0.9 && colourOf(result.model.materials[0]).greenF() < 0.1);
    QVERIFY(colourOf(result.model.materials[1]).greenF() > 0.9 && colourOf(result.model.materials[1]).redF() < 0.1);
}

void ImportFormatsTest::missingLibrariesAreNamedOnceEach()
{
    const ImportResult result = obj("mtllib a.mtl\nmtllib b.mtl\nmtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 2 0\nf 1 2 3\n");
    QCOMPARE(reason(result), QString("ok"));
    const std::vector<std::string> wanted{"a.mtl", "b.mtl"};
    QCOMPARE(result.model.missing, wanted);
}

void ImportFormatsTest::whatAnObjHoldsInVainIsNoted()
{
    const QByteArray triangle = "v 0 0 0\nv 1 0 0\nv 0 2 0\nf 1 2 3\n";
    QCOMPARE(notes(obj(triangle + "fo 1\n# surf\nusemtl curv\nf \\\n1 2 3\n")), QStringList());
    QCOMPARE(notes(obj(triangle + "f\n")), QStringList{"1 face without corners left out"});
    QCOMPARE(notes(obj(triangle + "  f \r\nf / / /\n")), QStringList{"2 faces without corners left out"});
    for (const char* line : {"curv 0 1 1 2 3\n", "curv2 1 2\n", "surf 0 1 0 1 1 2 3\n"})
        QCOMPARE(notes(obj(triangle + line)), QStringList{"curves and surfaces are not shown"});
    QByteArray libraries;
    for (int i = 0; i <= static_cast<int>(kMaxObjLibraryLines); ++i)
        libraries += "mtllib " + QByteArray::number(i) + ".mtl\n";
    QCOMPARE(notes(obj(libraries + triangle)),
             QStringList{"more material libraries than allowed: the others are not read"});
}

void ImportFormatsTest::optionsBeforeATextureMayBeShort_data()
{
    QTest::addColumn<QByteArray>("options");
    for (const char* options : {"", "-s 2", "-s 2 2", "-s 2 2 1", "-o 0.5", "-o .5 -.5 -s 2 2", "-t 1e-3", "-mm 0",
                                "-clamp on -s 2 2 -bm 1", "-s"})
        QTest::newRow(options) << QByteArray(options);
}

void ImportFormatsTest::optionsBeforeATextureMayBeShort()
{
    QFETCH(QByteArray, options);
    const QByteArray corners = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nusemtl m\nf 1/1 2/2 3/3\n";
    for (const QByteArray& name : {QByteArray("tex.png"), QByteArray("a 2 tex.png"), QByteArray("7")})
        for (const QByteArray& libraries : {QByteArray("mtllib a.mtl\n"), QByteArray("mtllib a.mtl\nmtllib b.mtl\n")}) {
            m_folder->write("a.mtl", "newmtl m\r\nmap_Kd " + options + " " + name + "\r\nKd 1 1 1\r\n");
            m_folder->write("b.mtl", "newmtl n\n");
            const ImportResult result = obj(libraries + corners);
            QCOMPARE(reason(result), QString("ok"));
            QCOMPARE(result.model.missing.size(), std::size_t{1});
            QCOMPARE(QByteArray::fromStdString(result.model.missing.front()), name);
        }
}

void ImportFormatsTest::bothFormsOfAnStlAreTold_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray text =
        "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\n"
        "endfacet\nendsolid a\n";
    QByteArray facet;
    for (const float value : {0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 0.f})
        facet.append(reinterpret_cast<const char*>(&value), sizeof value);
    const QByteArray binary = QByteArray("\1\0\0\0", 4) + facet + QByteArray(2, '\0');
    QTest::newRow("text") << text;
    QTest::newRow("text with a mark") << "\xEF\xBB\xBF" + text;
    QTest::newRow("binary") << QByteArray(80, 'x') + binary;
    QTest::newRow("binary that begins like text") << QByteArray("solid").leftJustified(80) + binary;
    QTest::newRow("the same with bytes behind its end") << QByteArray("solid").leftJustified(80) + binary + "zz";
    QTest::newRow("binary that begins with a mark") << QByteArray("\xEF\xBB\xBFsolid").leftJustified(80) + binary;
    QTest::newRow("binary that begins with another mark") << QByteArray("\xFF\xFE").leftJustified(80) + binary;
    QTest::newRow("binary that begins with zeros") << QByteArray("\0\0\xFE\xFF", 4).leftJustified(80) + binary;
}

void ImportFormatsTest::bothFormsOfAnStlAreTold()
{
    QFETCH(QByteArray, bytes);
    const ImportResult result = importFile(*m_folder, "model.stl", bytes, kFormatStl);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(result.model.box_max.x, 1.0);
}

void ImportFormatsTest::markBeforeGltfTextIsSkipped()
{
    const QByteArray text = "\xEF\xBB\xBF" + gltffiles::triangle().text();
    QCOMPARE(reason(importFile(*m_folder, "model.gltf", text, kFormatGltf)), QString("ok"));
}

void ImportFormatsTest::firstBufferOfAGlbMayBeElsewhere()
{
    const Builder builder = gltffiles::triangle();
    QByteArray json = builder.text();
    json += QByteArray((4 - json.size() % 4) % 4, ' ');
    const auto number = [](int value) {
        QByteArray bytes(4, '\0');
        qToLittleEndian(static_cast<quint32>(value), bytes.data());
        return bytes;
    };
    const QByteArray glb = "glTF" + number(2) + number(json.size() + 20) + number(json.size()) + "JSON" + json;
    const ImportResult result = importFile(*m_folder, "model.glb", glb, kFormatGlb);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
}

void ImportFormatsTest::deepNodesAreRefusedBeforeAssimp()
{
    Builder builder = gltffiles::triangle();
    QJsonArray nodes;
    for (int i = 1; i < 50000; ++i)
        nodes.append(QJsonObject{{"children", QJsonArray{i}}});
    nodes.append(QJsonObject{{"mesh", 0}});
    builder.json["nodes"] = nodes;
    QCOMPARE(reason(gltf(builder)), QString("nests its nodes too deeply"));
}

void ImportFormatsTest::axesOfAnFbxAreReadAsTheyStand()
{
    const ImportResult flat =
        importFile(*m_folder, "flat.fbx", fbxfiles::polygon({0, 0, 0, 1, 0, 0, 0, 3, 0}), kFormatFbx);
    QCOMPARE(reason(flat), QString("ok"));
    QCOMPARE(flat.model.box_max.y, 3.0);
}

void ImportFormatsTest::pictureInAnFbxIsFound()
{
    const QByteArray bytes = fbxfiles::texturedPolygon({0, 0, 0, 1, 0, 0, 0, 3, 0}, "a picture");
    const ImportResult result = importFile(*m_folder, "image.fbx", bytes, kFormatFbx);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.textures.size(), std::size_t{1});
    const std::vector<std::uint8_t>& picture = result.model.textures[0].encoded;
    QCOMPARE(std::string(picture.begin(), picture.end()), std::string("a picture"));
}

void ImportFormatsTest::modelsOfAnFbxInThemselvesAreRefused()
{
    QByteArray bytes = fbxfiles::polygon({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const auto connection = [](qint64 child, qint64 parent) {
        return fbxfiles::text("OO") + fbxfiles::longNumber(child) + fbxfiles::longNumber(parent);
    };
    QVERIFY(bytes.contains(connection(1, 2)));
    bytes.replace(connection(1, 2), connection(2, 2));
    QCOMPARE(reason(importFile(*m_folder, "model.fbx", bytes, kFormatFbx)),
             QString("is damaged: a model contains itself"));
}

void ImportFormatsTest::inconsistentFilesAreRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    Builder beyond = gltffiles::triangle();
    beyond.change("accessors", 0, "count", 4000000);
    QTest::newRow("glTF of more elements than data")
        << "a.gltf" << int{kFormatGltf} << beyond.text() << "has a part that reaches beyond its end";
    QTest::newRow("GLB of more elements than data")
        << "a.glb" << int{kFormatGlb} << beyond.glb() << "has a part that reaches beyond its end";
    QTest::newRow("cut FBX") << "a.fbx" << int{kFormatFbx} << fbxfiles::polygon({0, 0, 0, 1, 0, 0, 0, 1, 0}).left(150)
                             << "ends in the middle of its data";
    QTest::newRow("UTF-16 OBJ") << "a.obj" << int{kFormatObj} << QByteArray("\xFF\xFEv\0 \0", 6)
                                << "is written in UTF-16; only UTF-8 text can be read";
    QTest::newRow("GLB that is an STL") << "a.glb" << int{kFormatGlb} << QByteArray(100, 'x') << "is no GLB file";
}

void ImportFormatsTest::inconsistentFilesAreRefused()
{
    QFETCH(QString, name);
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reason);
    const QString found = importing::reason(importFile(*m_folder, name, bytes, format));
    QVERIFY2(found.startsWith(reason), qPrintable(found));
}

OV3D_TEST_MAIN(ImportFormatsTest)
#include "tst_importformats.moc"
