#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/importing.h"
#include "tests/unit/renderer/packagefiles.h"

using namespace importing;
using packagefiles::object;
using packagefiles::package;

namespace {

const QByteArray kItem = "<item objectid=\"1\"/>";
const QByteArray kMaterials = "<basematerials id=\"5\"><base name=\"Red\" displaycolor=\"#FF0000\"/>"
                              "<base name=\"Glass\" displaycolor=\"#0000FF80\"/></basematerials>";
const QByteArray kColours = "<m:colorgroup id=\"6\"><m:color color=\"#00FF00\"/><m:color color=\"#112233\"/>"
                            "<m:color color=\"#FFFFFF40\"/></m:colorgroup>";
const QByteArray kTexture =
    "<m:texture2d id=\"7\" path=\"/3D/red.png\" contenttype=\"image/png\" tilestyleu=\"mirror\" tilestylev=\"mirror\"/>"
    "<m:texture2dgroup id=\"8\" texid=\"7\"><m:tex2coord u=\"0\" v=\"0\"/><m:tex2coord u=\"1\" v=\"0\"/>"
    "<m:tex2coord u=\"0\" v=\"0.25\"/></m:texture2dgroup>";
const QByteArray kTextured = "pid=\"8\" p1=\"0\" p2=\"1\" p3=\"2\"";

packagefiles::Parts picture()
{
    return {packagefiles::modelRelations({"/3D/red.png"}, "3dtexture"), {"3D/red.png", packagefiles::png()}};
}

QByteArray transform(const QByteArray& move)
{
    return " transform=\"1 0 0 0 1 0 0 0 1 " + move + "\"";
}

} // namespace

class Import3mfTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void meshIsReadWithItsZUpwards();
    void baseMaterialsBecomeMaterialsOfTheirColour();
    void materialOfTheObjectHoldsForItsTriangles();
    void coloursStandAtTheVertices();
    void translucentColoursAreKeptApart();
    void texturesComeWithTheirPictures();
    void texturesAreLeftOutOnDemand();
    void missingPictureIsReportedAndTheModelShown();
    void pictureIsFoundWithoutARelation();
    void everyItemOfTheBuildIsPlaced();
    void componentsAreMovedByTheirTransforms();
    void mirroringTransformKeepsFacesOutwards();
    void partsInOtherFilesOfThePackageAreRead();
    void metadataAndPreviewsAreHarmless();
    void oneMeshForEachMaterial();
    void surfaceOfSeveralColoursStaysSmooth();
    void badFilesAreRefused_data();
    void badFilesAreRefused();
    void flippedBytesNeverCrash();

private:
    ImportResult read(const QByteArray& bytes) { return importFile(*m_folder, "model.3mf", bytes, kFormat3mf); }

    std::unique_ptr<ModelFolder> m_folder;
};

void Import3mfTest::init()
{
    TestBase::init();
    m_folder = std::make_unique<ModelFolder>();
}

void Import3mfTest::meshIsReadWithItsZUpwards()
{
    QByteArray tall = object(1);
    tall.replace("z=\"1\"", "z=\"7\"");
    const ImportResult result = read(package(tall, kItem));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{4});
    QCOMPARE(result.model.box_max.y, 7.0);
    QCOMPARE(result.model.box_min.z, -1.0);
    QCOMPARE(result.model.box_max.x, 1.0);
    QCOMPARE(result.model.meshes.front().normals.size(), result.model.meshes.front().positions.size());
}

void Import3mfTest::baseMaterialsBecomeMaterialsOfTheirColour()
{
    const ImportResult result =
        read(package(kMaterials + object(1, {"pid=\"5\" p1=\"0\"", "pid=\"5\" p1=\"1\""}), kItem));
    QCOMPARE(result.model.materials.size(), std::size_t{2});
    QCOMPARE(colourOf(result.model.materials[0]), QColor(Qt::red));
    QCOMPARE(result.model.materials[0].name, std::string("Red"));
    QVERIFY(result.model.materials[0].alpha_mode == AlphaMode::opaque);
    QCOMPARE(colourOf(result.model.materials[1]).alpha(), 0x80);
    QVERIFY(result.model.materials[1].alpha_mode == AlphaMode::blend);
    QCOMPARE(result.model.meshes[0].indices.size(), std::size_t{3});
    QCOMPARE(result.model.meshes[1].indices.size(), std::size_t{9});
}

void Import3mfTest::materialOfTheObjectHoldsForItsTriangles()
{
    const ImportResult result = read(package(kMaterials + object(1, {}, "pid=\"5\" pindex=\"0\""), kItem));
    QCOMPARE(result.model.materials.size(), std::size_t{1});
    QCOMPARE(colourOf(result.model.materials[0]), QColor(Qt::red));
}

void Import3mfTest::coloursStandAtTheVertices()
{
    const ImportResult result = read(package(kColours + object(1, {"pid=\"6\" p1=\"0\" p2=\"1\" p3=\"0\""}), kItem));
    QCOMPARE(result.model.meshes.size(), std::size_t{1});
    const MeshData& mesh = result.model.meshes.front();
    QCOMPARE(mesh.colours.size(), mesh.positions.size() / 3 * 4);
    const std::size_t second = std::size_t{mesh.indices[1]} * 4;
    QCOMPARE(mesh.colours[second], std::uint8_t{0x11});
    QCOMPARE(mesh.colours[second + 1], std::uint8_t{0x22});
    QCOMPARE(mesh.colours[second + 2], std::uint8_t{0x33});
    QCOMPARE(mesh.colours[second + 3], std::uint8_t{255});
    QCOMPARE(mesh.colours[std::size_t{mesh.indices[0]} * 4 + 1], std::uint8_t{255});
    QCOMPARE(colourOf(result.model.materials[mesh.material]), QColor(Qt::white));
}

void Import3mfTest::translucentColoursAreKeptApart()
{
    const ImportResult result =
        read(package(kColours + object(1, {"pid=\"6\" p1=\"0\"", "pid=\"6\" p1=\"2\""}), kItem));
    QCOMPARE(result.model.meshes.size(), std::size_t{2});
    QVERIFY(result.model.materials[result.model.meshes[0].material].alpha_mode == AlphaMode::opaque);
    QVERIFY(result.model.materials[result.model.meshes[1].material].alpha_mode == AlphaMode::blend);
}

void Import3mfTest::texturesComeWithTheirPictures()
{
    const ImportResult result = read(package(kTexture + object(1, {kTextured}), kItem, picture()));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.textures.size(), std::size_t{1});
    const std::vector<std::uint8_t>& bytes = result.model.textures[0].encoded;
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())),
             packagefiles::png());
    const MeshData& mesh = result.model.meshes.front();
    const MaterialData& material = result.model.materials[mesh.material];
    QCOMPARE(material.base_texture, 0);
    QVERIFY(material.wrap == Wrap::mirror);
    QCOMPARE(mesh.texcoords[std::size_t{mesh.indices[1]} * 2], 1.0f);
    QCOMPARE(mesh.texcoords[std::size_t{mesh.indices[2]} * 2 + 1], 0.25f);
}

void Import3mfTest::texturesAreLeftOutOnDemand()
{
    ImportRequest request;
    request.path =
        m_folder->write("model.3mf", package(kTexture + object(1, {kTextured}), kItem, picture())).toStdString();
    request.model_format = kFormat3mf;
    request.without_textures = true;
    const ImportResult result = importModel(request);
    QCOMPARE(reason(result), QString("ok"));
    QVERIFY(result.model.textures.empty());
    QVERIFY(result.model.missing.empty());
}

void Import3mfTest::missingPictureIsReportedAndTheModelShown()
{
    const ImportResult result = read(package(kTexture + object(1, {kTextured}), kItem, {picture().front()}));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.missing, std::vector<std::string>{"3D/red.png"});
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{4});
}

void Import3mfTest::pictureIsFoundWithoutARelation()
{
    const ImportResult result = read(package(kTexture + object(1, {kTextured}), kItem, {picture().back()}));
    QCOMPARE(result.model.textures.size(), std::size_t{1});
}

void Import3mfTest::everyItemOfTheBuildIsPlaced()
{
    const ImportResult result = read(package(object(1), kItem + "<item objectid=\"1\"" + transform("10 0 0") + "/>"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{8});
    QCOMPARE(result.model.box_max.x, 11.0);
    QCOMPARE(result.model.meshes.size(), std::size_t{1});
}

void Import3mfTest::componentsAreMovedByTheirTransforms()
{
    const QByteArray group = "<object id=\"2\" type=\"model\"><components><component objectid=\"1\"" +
                             transform("0 0 4") + "/><component objectid=\"1\"/></components></object>";
    const ImportResult result = read(package(object(1) + group, "<item objectid=\"2\"" + transform("0 0 100") + "/>"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{8});
    QCOMPARE(result.model.box_min.y, 100.0);
    QCOMPARE(result.model.box_max.y, 105.0);
}

void Import3mfTest::mirroringTransformKeepsFacesOutwards()
{
    const ImportResult result =
        read(package(object(1), "<item objectid=\"1\" transform=\"-1 0 0 0 1 0 0 0 1 0 0 0\"/>"));
    const MeshData& mesh = result.model.meshes.front();
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const auto at = [&](std::size_t corner) {
            const std::size_t k = std::size_t{mesh.indices[i + corner]} * 3;
            return Vec3{mesh.positions[k], mesh.positions[k + 1], mesh.positions[k + 2]};
        };
        const std::size_t n = std::size_t{mesh.indices[i]} * 3;
        const Vec3 normal{mesh.normals[n], mesh.normals[n + 1], mesh.normals[n + 2]};
        QVERIFY(dot(cross(at(1) - at(0), at(2) - at(0)), normal) > 0);
    }
}

void Import3mfTest::partsInOtherFilesOfThePackageAreRead()
{
    const QByteArray group = "<object id=\"9\" type=\"model\" p:UUID=\"11111111-1111-1111-1111-111111111111\">"
                             "<components><component objectid=\"1\" p:path=\"/3D/other.model\" "
                             "p:UUID=\"11111111-1111-1111-1111-111111111112\"/></components></object>";
    const ImportResult result = read(package(
        group, "<item objectid=\"9\"/><item objectid=\"1\" p:path=\"/3D/other.model\"" + transform("0 0 20") + "/>",
        {packagefiles::modelRelations({"/3D/other.model"}, "3dmodel"),
         {"3D/other.model", packagefiles::model(object(1), {})}}));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{8});
    QCOMPARE(result.model.box_max.y, 21.0);
}

void Import3mfTest::metadataAndPreviewsAreHarmless()
{
    const packagefiles::Parts more{{"Metadata/thumbnail.png", packagefiles::png()},
                                   {"Metadata/settings.config", "<?xml version=\"1.0\"?><!DOCTYPE x><x/>"},
                                   {"Metadata/broken.png", QByteArray(1000, 'x')}};
    QCOMPARE(reason(read(package(object(1), kItem, more))), QString("ok"));
}

void Import3mfTest::oneMeshForEachMaterial()
{
    QByteArray items;
    for (int i = 0; i < 20; ++i)
        items += "<item objectid=\"1\"" + transform(QByteArray::number(2 * i) + " 0 0") + "/>";
    const ImportResult result =
        read(package(kMaterials + object(1, {"pid=\"5\" p1=\"0\"", "pid=\"5\" p1=\"1\""}), items));
    QCOMPARE(result.model.meshes.size(), std::size_t{2});
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{80});
}

void Import3mfTest::surfaceOfSeveralColoursStaysSmooth()
{
    // Two triangles that turn by a little at their common edge, each of its own material.
    const QByteArray fold = "<object id=\"1\" type=\"model\"><mesh><vertices><vertex x=\"0\" y=\"0\" z=\"0\"/>"
                            "<vertex x=\"0\" y=\"1\" z=\"0\"/><vertex x=\"-1\" y=\"0\" z=\"0\"/>"
                            "<vertex x=\"1\" y=\"0\" z=\"-0.2\"/></vertices><triangles>"
                            "<triangle v1=\"0\" v2=\"1\" v3=\"2\" pid=\"5\" p1=\"0\"/>"
                            "<triangle v1=\"0\" v2=\"3\" v3=\"1\" pid=\"5\" p1=\"1\"/></triangles></mesh></object>";
    const ImportResult result = read(package(kMaterials + fold, kItem));
    QCOMPARE(result.model.meshes.size(), std::size_t{2});
    const auto normalAtOrigin = [](const MeshData& mesh) {
        const std::size_t k = std::size_t{mesh.indices[0]} * 3;
        return Vec3{mesh.normals[k], mesh.normals[k + 1], mesh.normals[k + 2]};
    };
    QVERIFY(length(normalAtOrigin(result.model.meshes[0]) - normalAtOrigin(result.model.meshes[1])) < 1e-5);
}

void Import3mfTest::badFilesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const auto replaced = [](const char* what, const char* by) {
        QByteArray text = object(1);
        text.replace(what, by);
        return package(text, kItem);
    };
    QTest::newRow("another format") << QByteArray("solid cube\nendsolid cube\n") << "is no 3MF package";
    QTest::newRow("cut off") << package(object(1), kItem).chopped(100)
                             << "ends in the middle of its data: the list of its parts is missing";
    QTest::newRow("nothing in it") << package("", "") << "holds nothing that can be drawn";
    QTest::newRow("corner that does not exist")
        << replaced("v1=\"1\"", "v1=\"100\"") << "is damaged: a triangle names a corner that does not exist";
    QTest::newRow("position that is no number")
        << replaced("x=\"1\"", "x=\"nan\"") << "is damaged: a coordinate is no number, or too large";
    QTest::newRow("infinite position") << replaced("x=\"1\"", "x=\"1e39\"")
                                       << "is damaged: a coordinate is no number, or too large";
    QTest::newRow("object that does not exist")
        << package(object(1), "<item objectid=\"8\"/>") << "is damaged: it places an object that does not exist";
    // The check knows only the objects, not how much is in them.
    QTest::newRow("more triangles than allowed")
        << package(
               object(1).replace("</triangles>",
                                 QByteArray("<triangle v1=\"0\" v2=\"2\" v3=\"1\"/>").repeated(5000) + "</triangles>"),
               QByteArray(kItem).repeated(4001))
        << "repeats its objects too often";
    // The reader knows the name space of models by its address, under whatever prefix.
    QByteArray tower = "<resources>" + object(1);
    for (int id = 2; id <= 5; ++id)
        tower += "<c:object id=\"" + QByteArray::number(id) + "\" type=\"model\"><c:components>" +
                 ("<c:component objectid=\"" + QByteArray::number(id - 1) + "\"/>").repeated(30) +
                 "</c:components></c:object>";
    QByteArray aliased = packagefiles::model("", "<item objectid=\"5\"/>",
                                             "xmlns:c=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"");
    aliased.replace("<resources>", tower);
    QTest::newRow("repeated behind another prefix")
        << packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", aliased}})
        << "repeats its objects too often";
    QTest::newRow("text where a part should be")
        << packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", "hello"}})
        << "cannot be understood: its part 3D/3dmodel.model is not valid XML";
}

void Import3mfTest::badFilesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QTEST(importing::reason(read(bytes)), "reason");
}

void Import3mfTest::flippedBytesNeverCrash()
{
    const QByteArray sound =
        package(kMaterials + kColours + object(1, {"pid=\"5\" p1=\"0\"", "pid=\"6\" p1=\"1\""}), kItem);
    int refused = 0;
    for (int at = 0; at < sound.size(); at += 5) {
        QByteArray bytes = sound;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
        const ImportResult result = read(bytes);
        QVERIFY(result.ok || !result.reason.empty());
        refused += result.ok ? 0 : 1;
    }
    QVERIFY(refused > 0);
}

OV3D_TEST_MAIN(Import3mfTest)
#include "tst_import3mf.moc"
