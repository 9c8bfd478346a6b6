#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/gltffiles.h"
#include "tests/unit/renderer/modelfolder.h"
#include "viewer/renderer/import/gltfcheck.h"

#include <QJsonDocument>
#include <QVector>

using namespace ov3d::renderer;
using gltffiles::Builder;
using gltffiles::skinnedTriangle;
using gltffiles::triangle;

namespace {

const QString kBeyond = "has a part that reaches beyond its end";

GltfCheck check(const QByteArray& text, const QByteArray& binary = {}, const QString& model = "/nowhere/model.gltf")
{
    const SideFiles sideFiles(model.toStdString());
    return checkGltf({text.constData(), static_cast<std::size_t>(text.size())},
                     {binary.constData(), static_cast<std::size_t>(binary.size())}, sideFiles);
}

QString reason(const Builder& gltf)
{
    return QString::fromStdString(check(gltf.text()).reason);
}

/// A triangle with one member of one list changed.
Builder changed(Builder gltf, const QString& list, int index, const QString& member, const QJsonValue& value)
{
    gltf.change(list, index, member, value);
    return gltf;
}

Builder withPrimitive(Builder gltf, const QJsonObject& primitive)
{
    gltf.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    return gltf;
}

/// Nodes that each hold the next one.
Builder chain(int depth)
{
    Builder gltf = triangle();
    QJsonArray nodes;
    for (int i = 1; i < depth; ++i)
        nodes.append(QJsonObject{{"children", QJsonArray{i}}});
    nodes.append(QJsonObject{{"mesh", 0}});
    gltf.json["nodes"] = nodes;
    return gltf;
}

Builder sparse(const QVector<quint16>& places)
{
    Builder gltf = triangle();
    gltf.addShorts(places, "SCALAR");
    gltf.addFloats({5, 5, 5}, "VEC3");
    gltf.change("accessors", 0, "sparse",
                QJsonObject{{"count", 1},
                            {"indices", QJsonObject{{"bufferView", 2}, {"componentType", 5123}}},
                            {"values", QJsonObject{{"bufferView", 3}}}});
    return gltf;
}

} // namespace

class GltfCheckTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void soundFilesPass();
    void damagedFilesAreRefused_data();
    void damagedFilesAreRefused();
    void nodeDepthLimitIsExact();
    void chainOfFiftyThousandNodesIsRefused();
    void whatNobodyUsesMayBeWrong();
    void sparseElementsMustExist();
    void bonesMustExist();
    void bonesInABufferFileAreLookedAtToo();
    void bufferFilesMustBeAsLongAsStated();
    void buffersOfAGlbMustFit();
    void firstBufferOfAGlbMayBeElsewhere();
    void missingCompressionIsNamed();
    void otherRequiredExtensionsAreNoted();
    void dracoIsNoFault();
    void animationsAreHidden();
    void skeletonsWithoutBonesAreHidden();
    void skeletonsGetTheMatricesThatTheyStandFor();
    void numberOfBonesIsBounded();
    void cornersOfMeshesThatShareThemAreBounded();
    void mediaTypesOfImagesWithoutASlashAreHidden_data();
    void mediaTypesOfImagesWithoutASlashAreHidden();
    void numbersOfMaterialsTexturesAndImagesAreBounded();
};

void GltfCheckTest::soundFilesPass()
{
    QCOMPARE(reason(triangle()), QString());
    QCOMPARE(reason(skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0})), QString());
    QVERIFY(check(triangle().text()).notes.empty());
}

void GltfCheckTest::damagedFilesAreRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const Builder& gltf, const QString& why) {
        QTest::newRow(name) << gltf.text() << why;
    };
    const QString invalidView = "is damaged: a view of its data is not valid";
    const QString noNumbers = "is damaged: a mesh names numbers that do not exist";
    const QString noKind = "is damaged: a list of numbers is of no valid kind";
    const QJsonObject position{{"POSITION", 0}};
    QTest::newRow("no JSON") << QByteArray("glTF") << "is not valid JSON";
    QTest::newRow("no object") << QByteArray("[]") << "is not valid glTF";
    QTest::newRow("no version") << QByteArray("{}") << "is not valid glTF: it gives no version";
    QTest::newRow("version 1") << QByteArray("{\"asset\":{\"version\":\"1.0\"}}")
                               << "is of glTF version 1.0; only version 2.0 can be read";
    row("view beyond its buffer", changed(triangle(), "bufferViews", 0, "byteLength", 4096), kBeyond);
    row("view that begins beyond its buffer", changed(triangle(), "bufferViews", 0, "byteOffset", 1e9), kBeyond);
    row("view of no buffer", changed(triangle(), "bufferViews", 0, "buffer", 9), invalidView);
    row("view of negative size", changed(triangle(), "bufferViews", 0, "byteLength", -1), invalidView);
    row("view of enormous size", changed(triangle(), "bufferViews", 0, "byteLength", 1e15), invalidView);
    row("more elements than data", changed(triangle(), "accessors", 0, "count", 4), kBeyond);
    row("elements far apart", changed(triangle(), "bufferViews", 0, "byteStride", 200), kBeyond);
    row("offset behind the data", changed(triangle(), "accessors", 0, "byteOffset", 4), kBeyond);
    row("absurd number of elements", changed(triangle(), "accessors", 0, "count", 4e9),
        "claims more elements than allowed");
    row("fraction of an element", changed(triangle(), "accessors", 0, "count", 2.5), noKind);
    row("unknown component", changed(triangle(), "accessors", 0, "componentType", 9), noKind);
    row("unknown type", changed(triangle(), "accessors", 0, "type", "VEC9"), noKind);
    row("accessor of no view", changed(triangle(), "accessors", 0, "bufferView", 9),
        "is damaged: a list of numbers names a view that does not exist");
    row("positions that do not exist", withPrimitive(triangle(), {{"attributes", QJsonObject{{"POSITION", 7}}}}),
        noNumbers);
    row("corners that do not exist", withPrimitive(triangle(), {{"attributes", position}, {"indices", 7}}), noNumbers);
    row("corners that are no whole numbers", withPrimitive(triangle(), {{"attributes", position}, {"indices", 0}}),
        "is damaged: the corners of a mesh are no whole numbers");
    row(
        "fewer normals than vertices",
        [&] {
            Builder gltf = triangle();
            gltf.addFloats({0, 0, 1}, "VEC3");
            return withPrimitive(gltf, {{"attributes", QJsonObject{{"POSITION", 0}, {"NORMAL", 2}}}});
        }(),
        "is damaged: a mesh has not one value of each kind for each vertex");
    row(
        "a shape of fewer vertices",
        [&] {
            Builder gltf = triangle();
            gltf.addFloats({0, 0, 1}, "VEC3");
            return withPrimitive(gltf,
                                 {{"attributes", position}, {"targets", QJsonArray{QJsonObject{{"POSITION", 2}}}}});
        }(),
        "is damaged: a mesh has not one value of each kind for each vertex");
    row(
        "sparse positions as whole numbers",
        [&] {
            Builder gltf = sparse({2});
            gltf.change("accessors", 0, "componentType", 5123);
            return gltf;
        }(),
        "keeps its positions in a way that cannot be read");
    row("node in itself", changed(triangle(), "nodes", 0, "children", QJsonArray{0}),
        "is damaged: a node contains itself");
    row("child that does not exist", changed(triangle(), "nodes", 0, "children", QJsonArray{5}),
        "is damaged: a node names one that does not exist");
    row("child twice", changed(triangle(), "nodes", 0, "children", QJsonArray{1, 1}),
        "is damaged: a node names one that does not exist");
    row("mesh that does not exist", changed(triangle(), "nodes", 0, "mesh", 5),
        "is damaged: a node names a mesh that does not exist");
    for (const int mode : {2, 3, 5, 6}) {
        row(qPrintable(QString("strip without positions of mode %1").arg(mode)),
            withPrimitive(triangle(), {{"attributes", QJsonObject()}, {"mode", mode}}),
            "is damaged: a strip has no positions");
        row(qPrintable(QString("strip of unknown corners of mode %1").arg(mode)),
            withPrimitive(changed(triangle(), "accessors", 0, "count", 2),
                          {{"attributes", position}, {"indices", 1}, {"mode", mode}}),
            "is damaged: a strip has corners that do not exist");
        row(qPrintable(QString("short strip of mode %1").arg(mode)),
            withPrimitive(changed(triangle(), "accessors", 1, "count", 1),
                          {{"attributes", position}, {"indices", 1}, {"mode", mode}}),
            "is damaged: a strip has too few corners");
    }
    row(
        "image beyond its buffer",
        [&] {
            Builder gltf = changed(triangle(), "bufferViews", 1, "byteLength", 4096);
            gltf.json["images"] = QJsonArray{QJsonObject{{"bufferView", 1}, {"mimeType", "image/png"}}};
            return withPrimitive(gltf, {{"attributes", position}});
        }(),
        kBeyond);
    for (const char* uri : {"data:imagepng;base64,AAAA", "data:x,AAAA", "data:image\\u0000/png;base64,AAAA"}) {
        Builder gltf = triangle();
        gltf.json["images"] = QJsonArray{QJsonObject{{"uri", "IMAGE"}}};
        QTest::newRow(uri) << gltf.text().replace("IMAGE", uri) << "is damaged: an image's data has no media type";
    }
}

void GltfCheckTest::damagedFilesAreRefused()
{
    QFETCH(QByteArray, text);
    QTEST(QString::fromStdString(check(text).reason), "reason");
}

void GltfCheckTest::nodeDepthLimitIsExact()
{
    QCOMPARE(reason(chain(kMaxNodeDepth)), QString());
    QCOMPARE(reason(chain(kMaxNodeDepth + 1)), QString("nests its nodes too deeply"));
}

void GltfCheckTest::chainOfFiftyThousandNodesIsRefused()
{
    QCOMPARE(reason(chain(50000)), QString("nests its nodes too deeply"));
}

void GltfCheckTest::whatNobodyUsesMayBeWrong()
{
    Builder gltf = triangle();
    gltf.addFloats({1, 2, 3}, "VEC3");
    gltf.change("bufferViews", 2, "byteLength", 100000);
    QCOMPARE(reason(gltf), QString());
}

void GltfCheckTest::sparseElementsMustExist()
{
    QCOMPARE(reason(sparse({2})), QString());
    QCOMPARE(reason(sparse({3})), QString("is damaged: a sparse list of numbers changes elements that do not exist"));
    QCOMPARE(reason(sparse({60000})),
             QString("is damaged: a sparse list of numbers changes elements that do not exist"));
}

void GltfCheckTest::bonesMustExist()
{
    QCOMPARE(reason(skinnedTriangle({0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0})),
             QString("is damaged: a vertex hangs on a bone that does not exist"));
    Builder fewMatrices = skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    fewMatrices.change("accessors", 4, "count", 1);
    QCOMPARE(reason(fewMatrices), QString("is damaged: a skeleton has not one matrix for each bone"));
    Builder noBone = skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    noBone.change("skins", 0, "joints", QJsonArray{1, 77});
    QCOMPARE(reason(noBone), QString("is damaged: a skeleton names a bone that does not exist"));
}

void GltfCheckTest::bonesInABufferFileAreLookedAtToo()
{
    Builder gltf = skinnedTriangle({0, 0, 0, 0, 9, 0, 0, 0, 1, 0, 0, 0});
    const QByteArray data = QByteArray::fromBase64(
        gltf.json["buffers"].toArray()[2].toObject()["uri"].toString().section(',', 1).toLatin1());
    gltf.change("buffers", 2, "uri", "bones.bin");
    ModelFolder folder;
    folder.write("bones.bin", data);
    QCOMPARE(QString::fromStdString(check(gltf.text(), {}, folder.path("model.gltf")).reason),
             QString("is damaged: a vertex hangs on a bone that does not exist"));
}

void GltfCheckTest::bufferFilesMustBeAsLongAsStated()
{
    Builder gltf = triangle();
    gltf.change("buffers", 0, "uri", "triangle.bin");
    ModelFolder folder;
    const auto reasonWith = [&](const QByteArray& bytes) {
        folder.write("triangle.bin", bytes);
        return QString::fromStdString(check(gltf.text(), {}, folder.path("model.gltf")).reason);
    };
    QCOMPARE(reasonWith(QByteArray(36, '\0')), QString());
    QCOMPARE(reasonWith(QByteArray(40, '\0')), QString());
    QCOMPARE(reasonWith(QByteArray(35, '\0')),
             QString("needs the file triangle.bin, which ends in the middle of its data (at byte 35 of 36)"));
    QCOMPARE(reasonWith({}), QString("needs the file triangle.bin, which is empty"));
}

void GltfCheckTest::firstBufferOfAGlbMayBeElsewhere()
{
    QVERIFY(check(triangle().text()).first_buffer_is_elsewhere);
    QVERIFY(check(triangle().text(), QByteArray(36, '\0')).first_buffer_is_elsewhere);
    Builder gltf = triangle();
    // With a binary part at hand, a name of a file is a left-over of the file's making.
    gltf.change("buffers", 0, "uri", "triangle.bin");
    QVERIFY(!check(gltf.text(), QByteArray(36, '\0')).first_buffer_is_elsewhere);
    QVERIFY(check(gltf.text()).first_buffer_is_elsewhere);
    gltf.change("buffers", 0, "uri", QJsonValue(QJsonValue::Undefined));
    QVERIFY(!check(gltf.text(), QByteArray(36, '\0')).first_buffer_is_elsewhere);
}

void GltfCheckTest::buffersOfAGlbMustFit()
{
    Builder gltf = triangle();
    gltf.change("buffers", 0, "uri", QJsonValue(QJsonValue::Undefined));
    QCOMPARE(check(gltf.text(), QByteArray(36, '\0')).reason, std::string());
    QCOMPARE(check(gltf.text(), QByteArray(20, '\0')).reason,
             std::string("ends in the middle of its data (at byte 20 of 36)"));
}

void GltfCheckTest::missingCompressionIsNamed()
{
    Builder gltf = triangle();
    gltf.json["extensionsRequired"] = QJsonArray{"EXT_meshopt_compression"};
    QCOMPARE(reason(gltf), QString("is compressed by EXT_meshopt_compression, which cannot be read"));
}

void GltfCheckTest::otherRequiredExtensionsAreNoted()
{
    Builder gltf = triangle();
    gltf.json["extensionsRequired"] = QJsonArray{"KHR_texture_transform", "KHR_materials_clearcoat", "ACME_dust"};
    const GltfCheck result = check(gltf.text());
    QCOMPARE(result.reason, std::string());
    QCOMPARE(result.notes, std::vector<std::string>{"the extension ACME_dust is not read"});
}

void GltfCheckTest::dracoIsNoFault()
{
    Builder gltf = triangle();
    gltf.json["extensionsRequired"] = QJsonArray{"KHR_draco_mesh_compression"};
    QCOMPARE(reason(gltf), QString());
}

void GltfCheckTest::animationsAreHidden()
{
    Builder gltf = triangle();
    gltf.json["animations"] = QJsonArray{QJsonObject{{"samplers", 7}}};
    const QByteArray text = gltf.text();
    const GltfCheck result = check(text);
    QCOMPARE(result.hidden.size(), std::size_t{1});
    QCOMPARE(result.hidden.front().data() - text.constData(), static_cast<std::ptrdiff_t>(text.indexOf("animations")));
}

void GltfCheckTest::skeletonsWithoutBonesAreHidden()
{
    for (const QJsonValue& joints : {QJsonValue(QJsonArray()), QJsonValue(QJsonValue::Undefined)}) {
        Builder gltf = skinnedTriangle({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
        gltf.change("skins", 0, "joints", joints);
        const QByteArray text = gltf.text();
        const GltfCheck result = check(text);
        QCOMPARE(result.reason, std::string());
        QCOMPARE(result.notes, std::vector<std::string>{"a skeleton without bones is not followed"});
        QCOMPARE(result.hidden.size(), std::size_t{1});
        QCOMPARE(result.hidden.front().data() - text.constData(), std::ptrdiff_t{text.indexOf("skin\":0")});
    }
}

void GltfCheckTest::skeletonsGetTheMatricesThatTheyStandFor()
{
    Builder gltf = skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    gltf.change("skins", 0, "inverseBindMatrices", QJsonValue(QJsonValue::Undefined));
    const QJsonArray skins = gltf.json["skins"].toArray();
    gltf.json["skins"] = QJsonArray{skins[0], QJsonObject{{"joints", QJsonArray{1}}},
                                    QJsonObject{{"joints", QJsonArray{1, 2}}, {"inverseBindMatrices", 4}}};
    const GltfCheck result = check(gltf.text());
    QCOMPARE(result.reason, std::string());
    const QJsonObject json = QJsonDocument::fromJson(QByteArray::fromStdString(result.json)).object();
    const QList<int> wanted{5, 5, 4};
    for (int i = 0; i < 3; ++i)
        QCOMPARE(json["skins"].toArray()[i].toObject()["inverseBindMatrices"].toInt(), wanted[i]);
    const QJsonObject accessor = json["accessors"].toArray()[5].toObject();
    QCOMPARE(accessor["type"].toString(), QString("MAT4"));
    QCOMPARE(accessor["count"].toInt(), 2);
    // What comes out is sound itself, and needs no more.
    QCOMPARE(check(QByteArray::fromStdString(result.json)).reason, std::string());
    QCOMPARE(check(QByteArray::fromStdString(result.json)).json, std::string());
}

void GltfCheckTest::numberOfBonesIsBounded()
{
    QJsonArray bones;
    while (bones.size() <= static_cast<int>(kMaxBones))
        bones.append(1);
    Builder gltf = skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    gltf.json["skins"] = QJsonArray{QJsonObject{{"joints", bones}}};
    QCOMPARE(reason(gltf), QString("has a skeleton of more bones than allowed"));
    bones.removeLast();
    gltf.json["skins"] = QJsonArray{QJsonObject{{"joints", bones}}};
    QCOMPARE(reason(gltf), QString());
}

void GltfCheckTest::cornersOfMeshesThatShareThemAreBounded()
{
    Builder gltf = triangle();
    const int corners = 30000;
    gltf.addShorts(QVector<quint16>(corners, 0), "SCALAR");
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}}, {"indices", 2}};
    QJsonArray primitives;
    while (static_cast<std::uint64_t>(primitives.size() + 1) * corners <= kMaxGltfCorners)
        primitives.append(primitive);
    gltf.json["meshes"] = QJsonArray{QJsonObject{{"primitives", primitives}}};
    QCOMPARE(reason(gltf), QString());
    gltf.json["meshes"] =
        QJsonArray{QJsonObject{{"primitives", primitives}}, QJsonObject{{"primitives", QJsonArray{primitive}}}};
    QCOMPARE(reason(gltf), QString("claims more elements than allowed"));
}

void GltfCheckTest::mediaTypesOfImagesWithoutASlashAreHidden_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<int>("hidden");
    QTest::newRow("usual") << QByteArray("image/png") << 0;
    QTest::newRow("unusual") << QByteArray("/") << 0;
    QTest::newRow("another sign") << QByteArray("image'png") << 1;
    QTest::newRow("empty") << QByteArray() << 1;
    QTest::newRow("slash behind the end") << QByteArray("image\\u0000/png") << 1;
}

void GltfCheckTest::mediaTypesOfImagesWithoutASlashAreHidden()
{
    QFETCH(QByteArray, kind);
    QFETCH(int, hidden);
    Builder gltf = triangle();
    gltf.json["images"] = QJsonArray{QJsonObject{{"bufferView", 0}, {"mimeType", "KIND"}}};
    const QByteArray text = gltf.text().replace("KIND", kind);
    const GltfCheck result = check(text);
    QCOMPARE(QString::fromStdString(result.reason), QString());
    QCOMPARE(static_cast<int>(result.hidden.size()), hidden);
    for (const std::string_view name : result.hidden)
        QCOMPARE(name, std::string_view("mimeType"));
}

void GltfCheckTest::numbersOfMaterialsTexturesAndImagesAreBounded()
{
    for (const char* list : {"materials", "textures", "images"}) {
        QJsonArray elements;
        while (static_cast<std::uint64_t>(elements.size()) < kMaxGltfMaterials)
            elements.append(QJsonObject());
        Builder gltf = triangle();
        gltf.json[QString::fromLatin1(list)] = elements;
        QCOMPARE(reason(gltf), QString());
        elements.append(QJsonObject());
        gltf.json[QString::fromLatin1(list)] = elements;
        QCOMPARE(reason(gltf), QString("holds more %1 than allowed").arg(QString::fromLatin1(list)));
    }
}

OV3D_TEST_MAIN(GltfCheckTest)
#include "tst_gltfcheck.moc"
