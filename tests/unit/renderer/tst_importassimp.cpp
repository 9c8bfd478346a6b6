#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/fbxfiles.h"
#include "tests/unit/renderer/gltffiles.h"
#include "tests/unit/renderer/importing.h"
#include "viewer/renderer/import/largepolygons.h"
#include "viewer/renderer/import/objcheck.h"

#include <QVector>
#include <QtEndian>
#include <cmath>
#include <limits>

using namespace importing;
using gltffiles::Builder;

namespace {

QByteArray number(double value)
{
    return QByteArray::number(value, 'g', 9);
}

/// An OBJ of one polygon around the origin whose corners stand at those distances in turn.
QByteArray ringObj(int corners, double even, double odd)
{
    QByteArray text;
    QByteArray face = "f";
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * M_PI * i / corners;
        const double distance = i % 2 == 0 ? even : odd;
        text += "v " + number(distance * std::cos(angle)) + " " + number(distance * std::sin(angle)) + " 0\n";
        face += " " + QByteArray::number(i + 1);
    }
    return text + face + "\n";
}

QList<double> ring(int corners)
{
    QList<double> coordinates;
    for (int i = 0; i < corners; ++i)
        coordinates << std::cos(2 * M_PI * i / corners) << std::sin(2 * M_PI * i / corners) << 0;
    return coordinates;
}

Vec3 vertexAt(const MeshData& mesh, const ModelData& model, std::size_t corner)
{
    const std::size_t k = std::size_t{mesh.indices[corner]} * 3;
    return model.frame.origin +
           Vec3{mesh.positions[k], mesh.positions[k + 1], mesh.positions[k + 2]} * model.frame.scale;
}

QStringList notes(const ImportResult& result)
{
    QStringList list;
    for (const std::string& note : result.model.notes)
        list << QString::fromStdString(note);
    return list;
}

} // namespace

class ImportAssimpTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void pointsAloneAreShownAsPoints();
    void linesAloneAreShownAsLines();
    void coloursOfVerticesAreKept();
    void convexPolygonOfManyCornersIsShown();
    void otherPolygonOfManyCornersIsLeftOutAndNoted();
    void polygonsOfAnFbxAreBoundedToo();
    void manyLargePolygonsAreBoundedTogether();
    void concavePolygonOfFewCornersIsCutRight();
    void facesWithoutNumbersAreLeftOutAndNoted();
    void facesWithCornersThatDoNotExistAreLeftOutAndNoted();
    void skinIsShownInItsPose();
    void skinWithoutMatricesIsShownInItsPose();
    void skinWithoutBonesIsNotFollowed();
    void shapesStandAtTheirWeights();
    void animationsMayBeBroken();
    void firstAnimationGivesThePose_data();
    void firstAnimationGivesThePose();
    void shapesStandWhereTheFirstAnimationBegins();
    void firstBufferOfAGlbMayBeElsewhere();
    void allMaterialLibrariesOfAnObjAreRead_data();
    void allMaterialLibrariesOfAnObjAreRead();
    void missingLibrariesAreNamedOnceEach();
    void whatAnObjHoldsInVainIsNoted();
    void modelsOfAnFbxInThemselvesAreRefused();
    void markBeforeGltfTextIsSkipped();
    void bothFormsOfAnStlAreTold_data();
    void bothFormsOfAnStlAreTold();
    void optionsBeforeATextureMayBeShort_data();
    void optionsBeforeATextureMayBeShort();
    void deepNodesAreRefusedBeforeAssimp();
    void axesOfAnFbxAreReadAsTheyStand();
    void pictureInAnFbxIsFound();
    void wholeNumbersBecomePositionsAndTextureCoordinates_data();
    void wholeNumbersBecomePositionsAndTextureCoordinates();
    void inconsistentFilesAreRefused_data();
    void inconsistentFilesAreRefused();

private:
    ImportResult obj(const QByteArray& text) { return importFile(*m_folder, "model.obj", text, kFormatObj); }
    ImportResult gltf(const Builder& builder)
    {
        return importFile(*m_folder, "model.gltf", builder.text(), kFormatGltf);
    }

    std::unique_ptr<ModelFolder> m_folder;
};

void ImportAssimpTest::init()
{
    TestBase::init();
    m_folder = std::make_unique<ModelFolder>();
}

void ImportAssimpTest::pointsAloneAreShownAsPoints()
{
    const ImportResult cloud = obj("v 0 0 0\nv 1 0 0\nv 0 2 0\n");
    QCOMPARE(reason(cloud), QString("ok"));
    QCOMPARE(count(cloud.model, Primitive::points), std::size_t{3});
    QCOMPARE(cloud.model.box_max.y, 2.0);

    Builder builder = gltffiles::triangle();
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}}, {"mode", 0}};
    builder.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    QCOMPARE(count(gltf(builder).model, Primitive::points), std::size_t{3});
}

void ImportAssimpTest::linesAloneAreShownAsLines()
{
    const ImportResult result = obj("v 0 0 0\nv 1 0 0\nv 0 2 0\nl 1 2 3\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::lines), std::size_t{2});
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{0});
}

void ImportAssimpTest::coloursOfVerticesAreKept()
{
    const ImportResult result = obj("v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 0 1 0 0 0 1\nf 1 2 3\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.meshes.front().colours.size(), std::size_t{12});
}

void ImportAssimpTest::convexPolygonOfManyCornersIsShown()
{
    const ImportResult result = obj(ringObj(100000, 1, 1));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{99998});
    double area = 0;
    for (const MeshData& mesh : result.model.meshes)
        for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
            const Vec3 a = vertexAt(mesh, result.model, i);
            area += cross(vertexAt(mesh, result.model, i + 1) - a, vertexAt(mesh, result.model, i + 2) - a).z / 2;
        }
    QVERIFY2(std::abs(area - M_PI) < 1e-3, qPrintable(QString::number(area)));
}

void ImportAssimpTest::otherPolygonOfManyCornersIsLeftOutAndNoted()
{
    const ImportResult result = obj(ringObj(100000, 1, 0.5) + "v 5 0 0\nv 6 0 0\nv 5 1 0\nf -1 -2 -3\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(notes(result), QStringList{"1 face with too many corners left out"});
}

void ImportAssimpTest::polygonsOfAnFbxAreBoundedToo()
{
    const ImportResult result = importFile(*m_folder, "ring.fbx", fbxfiles::polygon(ring(100000)), kFormatFbx);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{99998});
}

void ImportAssimpTest::manyLargePolygonsAreBoundedTogether()
{
    constexpr int corners = kMaxClippedCorners;
    const int allowed = static_cast<int>(kMaxClippingWork / (std::uint64_t{corners} * corners));
    QByteArray text = ringObj(corners, 1, 0.5);
    const QByteArray face = text.mid(text.indexOf('f'));
    const ImportResult result = obj(text + face.repeated(allowed + 2));
    QCOMPARE(notes(result), QStringList{"3 faces with too many corners left out"});
}

void ImportAssimpTest::concavePolygonOfFewCornersIsCutRight()
{
    // An L: a fan around its first corner would cover the notch.
    const ImportResult result = obj("v 2 0 0\nv 2 1 0\nv 1 1 0\nv 1 2 0\nv 0 2 0\nv 0 0 0\nf 1 2 3 4 5 6\n");
    double area = 0;
    const MeshData& mesh = result.model.meshes.front();
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const Vec3 a = vertexAt(mesh, result.model, i);
        area += std::abs(cross(vertexAt(mesh, result.model, i + 1) - a, vertexAt(mesh, result.model, i + 2) - a).z) / 2;
    }
    QVERIFY(std::abs(area - 3) < 1e-5);
}

void ImportAssimpTest::facesWithoutNumbersAreLeftOutAndNoted()
{
    Builder builder = gltffiles::triangle();
    builder.addFloats({0, 0, 0, 1, 0, 0, 0, 1, 0, NAN, 0, 0, INFINITY, 0, 0}, "VEC3");
    builder.addShorts({0, 1, 2, 0, 1, 3, 0, 1, 4}, "SCALAR");
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 2}}}, {"indices", 3}};
    builder.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    const ImportResult result = gltf(builder);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(notes(result), QStringList{"2 faces with positions that do not exist or are no numbers left out"});
    QVERIFY(std::isfinite(result.model.radius));
}

void ImportAssimpTest::facesWithCornersThatDoNotExistAreLeftOutAndNoted()
{
    Builder builder = gltffiles::triangle();
    builder.addShorts({0, 1, 2, 0, 1, 60000}, "SCALAR");
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}}, {"indices", 2}};
    builder.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    const ImportResult result = gltf(builder);
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(notes(result), QStringList{"faces with corners that do not exist left out"});
}

void ImportAssimpTest::skinIsShownInItsPose()
{
    // All three vertices hang on a bone that has moved by five along +Z.
    const ImportResult result = gltf(gltffiles::skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.box_min.z, 5.0);
    QCOMPARE(result.model.box_max.z, 5.0);
}

void ImportAssimpTest::skinWithoutMatricesIsShownInItsPose()
{
    Builder builder = gltffiles::skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    builder.change("skins", 0, "inverseBindMatrices", QJsonValue(QJsonValue::Undefined));
    for (const bool packed : {false, true}) {
        const ImportResult result =
            packed ? importFile(*m_folder, "model.glb", builder.glb(), kFormatGlb) : gltf(builder);
        QCOMPARE(reason(result), QString("ok"));
        QCOMPARE(result.model.box_min.z, 5.0);
        QCOMPARE(result.model.box_max.z, 5.0);
    }
}

void ImportAssimpTest::skinWithoutBonesIsNotFollowed()
{
    Builder builder = gltffiles::skinnedTriangle({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    builder.change("skins", 0, "joints", QJsonArray());
    const ImportResult result = gltf(builder);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.box_max.z, 0.0);
    QCOMPARE(notes(result), QStringList{"a skeleton without bones is not followed"});
}

void ImportAssimpTest::shapesStandAtTheirWeights()
{
    for (const double weight : {0.0, 0.5, 1.0}) {
        Builder builder = gltffiles::triangle();
        builder.addFloats({0, 0, 8, 0, 0, 8, 0, 0, 8}, "VEC3");
        const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}},
                                    {"targets", QJsonArray{QJsonObject{{"POSITION", 2}}}}};
        builder.json["meshes"] =
            QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}, {"weights", QJsonArray{weight}}}};
        QCOMPARE(gltf(builder).model.box_max.z, 8 * weight);
    }
}

void ImportAssimpTest::animationsMayBeBroken()
{
    Builder builder = gltffiles::triangle();
    const QJsonObject sampler{{"input", 99}, {"output", -3}};
    const QJsonObject channel{{"sampler", 0}, {"target", QJsonObject{{"node", 0}, {"path", "translation"}}}};
    builder.json["animations"] =
        QJsonArray{QJsonObject{{"samplers", QJsonArray{sampler}}, {"channels", QJsonArray{channel}}}};
    QCOMPARE(reason(gltf(builder)), QString("ok"));
    QCOMPARE(reason(importFile(*m_folder, "model.glb", builder.glb(), kFormatGlb)), QString("ok"));
}

void ImportAssimpTest::firstAnimationGivesThePose_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QVector<float>>("keys");
    QTest::addColumn<QString>("interpolation");
    QTest::addColumn<QJsonObject>("node");
    QTest::addColumn<double>("smallestX");
    QTest::addColumn<double>("largestX");
    const QJsonObject bare{{"mesh", 0}};
    const QJsonObject placed{{"mesh", 0}, {"translation", QJsonArray{9, 9, 9}}};
    const QJsonObject fixed{{"mesh", 0}, {"matrix", QJsonArray{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 0, 0, 1}}};
    const auto row = [](const char* name, const char* path, const QVector<float>& keys, const char* kind,
                        const QJsonObject& node, double smallest,
                        double largest) { QTest::newRow(name) << path << keys << kind << node << smallest << largest; };
    row("translation", "translation", {4, 0, 0, 5, 0, 0}, "LINEAR", bare, 4, 5);
    row("translation of a node that stands elsewhere", "translation", {4, 0, 0}, "STEP", placed, 4, 5);
    row("scale", "scale", {3, 1, 1}, "LINEAR", bare, 0, 3);
    row("half a turn", "rotation", {0, 0, 1, 0}, "LINEAR", bare, -1, 0);
    row("value between tangents", "translation", {7, 7, 7, 4, 0, 0, 8, 8, 8}, "CUBICSPLINE", bare, 4, 5);
    row("tangent alone", "translation", {7, 7, 7}, "CUBICSPLINE", bare, 0, 1);
    row("no number", "translation", {std::numeric_limits<float>::quiet_NaN(), 0, 0}, "LINEAR", bare, 0, 1);
    row("no rotation", "rotation", {0, 0, 0, 0}, "LINEAR", bare, 0, 1);
    row("node of a matrix", "translation", {4, 0, 0}, "LINEAR", fixed, 2, 3);
    row("unknown path", "colour", {4, 0, 0}, "LINEAR", bare, 0, 1);
}

void ImportAssimpTest::firstAnimationGivesThePose()
{
    QFETCH(QString, path);
    QFETCH(QVector<float>, keys);
    QFETCH(QString, interpolation);
    QFETCH(QJsonObject, node);
    QFETCH(double, smallestX);
    QFETCH(double, largestX);
    Builder builder = gltffiles::triangle();
    builder.json["nodes"] = QJsonArray{node};
    const int output = builder.addFloats(keys, path == "rotation" ? "VEC4" : "VEC3");
    const QJsonObject channel{{"sampler", 0}, {"target", QJsonObject{{"node", 0}, {"path", path}}}};
    const QJsonObject sampler{{"output", output}, {"interpolation", interpolation}};
    const QJsonObject animation{{"samplers", QJsonArray{sampler}}, {"channels", QJsonArray{channel, channel}}};
    builder.json["animations"] = QJsonArray{animation};
    for (const bool packed : {false, true}) {
        const ImportResult result =
            packed ? importFile(*m_folder, "model.glb", builder.glb(), kFormatGlb) : gltf(builder);
        QCOMPARE(reason(result), QString("ok"));
        QVERIFY(std::abs(result.model.box_min.x - smallestX) < 1e-6);
        QVERIFY(std::abs(result.model.box_max.x - largestX) < 1e-6);
    }
}

void ImportAssimpTest::shapesStandWhereTheFirstAnimationBegins()
{
    for (const bool hasWeights : {false, true}) {
        Builder builder = gltffiles::triangle();
        builder.addFloats({0, 0, 8, 0, 0, 8, 0, 0, 8}, "VEC3");
        const int output = builder.addFloats({0.25f, 1}, "SCALAR");
        const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}},
                                    {"targets", QJsonArray{QJsonObject{{"POSITION", 2}}}}};
        QJsonObject mesh{{"primitives", QJsonArray{primitive}}};
        if (hasWeights)
            mesh["weights"] = QJsonArray{1};
        builder.json["meshes"] = QJsonArray{mesh};
        const QJsonObject channel{{"sampler", 0}, {"target", QJsonObject{{"node", 0}, {"path", "weights"}}}};
        builder.json["animations"] = QJsonArray{
            QJsonObject{{"samplers", QJsonArray{QJsonObject{{"output", output}}}}, {"channels", QJsonArray{channel}}}};
        QCOMPARE(gltf(builder).model.box_max.z, 2.0);
    }
}

void ImportAssimpTest::firstBufferOfAGlbMayBeElsewhere()
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

void ImportAssimpTest::allMaterialLibrariesOfAnObjAreRead_data()
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

void ImportAssimpTest::allMaterialLibrariesOfAnObjAreRead()
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

void ImportAssimpTest::missingLibrariesAreNamedOnceEach()
{
    const ImportResult result = obj("mtllib a.mtl\nmtllib b.mtl\nmtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 2 0\nf 1 2 3\n");
    QCOMPARE(reason(result), QString("ok"));
    const std::vector<std::string> wanted{"a.mtl", "b.mtl"};
    QCOMPARE(result.model.missing, wanted);
}

void ImportAssimpTest::whatAnObjHoldsInVainIsNoted()
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

void ImportAssimpTest::modelsOfAnFbxInThemselvesAreRefused()
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

void ImportAssimpTest::markBeforeGltfTextIsSkipped()
{
    const QByteArray text = "\xEF\xBB\xBF" + gltffiles::triangle().text();
    QCOMPARE(reason(importFile(*m_folder, "model.gltf", text, kFormatGltf)), QString("ok"));
}

void ImportAssimpTest::bothFormsOfAnStlAreTold_data()
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

void ImportAssimpTest::bothFormsOfAnStlAreTold()
{
    QFETCH(QByteArray, bytes);
    const ImportResult result = importFile(*m_folder, "model.stl", bytes, kFormatStl);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(result.model.box_max.x, 1.0);
}

void ImportAssimpTest::optionsBeforeATextureMayBeShort_data()
{
    QTest::addColumn<QByteArray>("options");
    for (const char* options : {"", "-s 2", "-s 2 2", "-s 2 2 1", "-o 0.5", "-o .5 -.5 -s 2 2", "-t 1e-3", "-mm 0",
                                "-clamp on -s 2 2 -bm 1", "-s"})
        QTest::newRow(options) << QByteArray(options);
}

void ImportAssimpTest::optionsBeforeATextureMayBeShort()
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

void ImportAssimpTest::deepNodesAreRefusedBeforeAssimp()
{
    Builder builder = gltffiles::triangle();
    QJsonArray nodes;
    for (int i = 1; i < 50000; ++i)
        nodes.append(QJsonObject{{"children", QJsonArray{i}}});
    nodes.append(QJsonObject{{"mesh", 0}});
    builder.json["nodes"] = nodes;
    QCOMPARE(reason(gltf(builder)), QString("nests its nodes too deeply"));
}

void ImportAssimpTest::axesOfAnFbxAreReadAsTheyStand()
{
    const ImportResult flat =
        importFile(*m_folder, "flat.fbx", fbxfiles::polygon({0, 0, 0, 1, 0, 0, 0, 3, 0}), kFormatFbx);
    QCOMPARE(reason(flat), QString("ok"));
    QCOMPARE(flat.model.box_max.y, 3.0);
}

void ImportAssimpTest::pictureInAnFbxIsFound()
{
    const QByteArray bytes = fbxfiles::texturedPolygon({0, 0, 0, 1, 0, 0, 0, 3, 0}, "a picture");
    const ImportResult result = importFile(*m_folder, "image.fbx", bytes, kFormatFbx);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.textures.size(), std::size_t{1});
    const std::vector<std::uint8_t>& picture = result.model.textures[0].encoded;
    QCOMPARE(std::string(picture.begin(), picture.end()), std::string("a picture"));
}

void ImportAssimpTest::wholeNumbersBecomePositionsAndTextureCoordinates_data()
{
    QTest::addColumn<bool>("isGlb");
    QTest::newRow("glTF") << false;
    QTest::newRow("GLB") << true;
}

void ImportAssimpTest::wholeNumbersBecomePositionsAndTextureCoordinates()
{
    QFETCH(bool, isGlb);
    constexpr int byteType = 5120, unsignedShortType = 5123;
    Builder builder = gltffiles::triangle();
    // Three signed bytes and one to fill up with, as views demand.
    const QByteArray places("\0\0\0\0\x40\0\0\0\0\x81\0\0", 12);
    builder.addAccessor(places, byteType, "VEC3", 3);
    builder.change("bufferViews", 2, "byteStride", 4);
    const QVector<quint16> texcoords{0, 0, 65535, 0, 0, 13107};
    builder.addAccessor({reinterpret_cast<const char*>(texcoords.constData()), 12}, unsignedShortType, "VEC2", 3, true);
    builder.json["animations"] = QJsonArray{7};
    builder.json["extensionsRequired"] = QJsonArray{"KHR_mesh_quantization"};
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 2}, {"TEXCOORD_0", 3}}}, {"material", 0}};
    builder.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    builder.json["materials"] =
        QJsonArray{QJsonObject{{"pbrMetallicRoughness", QJsonObject{{"baseColorTexture", QJsonObject{{"index", 0}}}}}}};
    builder.json["textures"] = QJsonArray{QJsonObject{{"source", 0}}};
    builder.json["images"] = QJsonArray{QJsonObject{{"uri", "image.png"}}};
    m_folder->write("image.png", "a picture");
    const ImportResult result = isGlb ? importFile(*m_folder, "model.glb", builder.glb(), kFormatGlb) : gltf(builder);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.box_max.x, 64.0);
    QCOMPARE(result.model.box_min.y, -127.0);
    const MeshData& mesh = result.model.meshes.front();
    QCOMPARE(mesh.texcoords.size(), std::size_t{6});
    QCOMPARE(mesh.texcoords[std::size_t{mesh.indices[1]} * 2], 1.0f);
    // Upwards here, downwards in the file.
    QVERIFY(std::abs(mesh.texcoords[std::size_t{mesh.indices[2]} * 2 + 1] - 0.8f) < 1e-4f);
}

void ImportAssimpTest::inconsistentFilesAreRefused_data()
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

void ImportAssimpTest::inconsistentFilesAreRefused()
{
    QFETCH(QString, name);
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reason);
    const QString found = importing::reason(importFile(*m_folder, name, bytes, format));
    QVERIFY2(found.startsWith(reason), qPrintable(found));
}

OV3D_TEST_MAIN(ImportAssimpTest)
#include "tst_importassimp.moc"
