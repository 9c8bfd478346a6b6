#include "tests/support/testmain.h"
#include "tests/unit/renderer/importtestbase.h"

#include <QVector>
#include <cmath>
#include <limits>

using namespace importing;
using gltffiles::Builder;

class ImportPosesTest : public ImportTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void skinIsShownInItsPose();
    void skinWithoutMatricesIsShownInItsPose();
    void skinWithoutBonesIsNotFollowed();
    void bonesBeyondAllNumbersLeaveTheirVerticesWhereTheyAre();
    void shapesStandAtTheirWeights();
    void animationsMayBeBroken();
    void firstAnimationGivesThePose_data();
    void firstAnimationGivesThePose();
    void shapesStandWhereTheFirstAnimationBegins();
};

void ImportPosesTest::skinIsShownInItsPose()
{
    // All three vertices hang on a bone that has moved by five along +Z.
    const ImportResult result = gltf(gltffiles::skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.box_min.z, 5.0);
    QCOMPARE(result.model.box_max.z, 5.0);
}

void ImportPosesTest::skinWithoutMatricesIsShownInItsPose()
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

void ImportPosesTest::skinWithoutBonesIsNotFollowed()
{
    Builder builder = gltffiles::skinnedTriangle({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    builder.change("skins", 0, "joints", QJsonArray());
    const ImportResult result = gltf(builder);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.box_max.z, 0.0);
    QCOMPARE(notes(result), QStringList{"a skeleton without bones is not followed"});
}

void ImportPosesTest::bonesBeyondAllNumbersLeaveTheirVerticesWhereTheyAre()
{
    Builder builder = gltffiles::skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    // Two bones in a row, each within the numbers of a file, and together beyond them.
    for (const int bone : {1, 2}) {
        builder.change("nodes", bone, "scale", QJsonArray{1e30, 1e30, 1e30});
        builder.change("nodes", bone, "children", bone == 1 ? QJsonArray{2} : QJsonValue(QJsonValue::Undefined));
    }
    builder.change("nodes", 2, "translation", QJsonArray{0, 0, 1e30});
    const ImportResult result = gltf(builder);
    QCOMPARE(reason(result), QString("ok"));
    QVERIFY(std::isfinite(result.model.radius));
    for (const MeshData& mesh : result.model.meshes)
        for (const float value : mesh.positions)
            QVERIFY(std::isfinite(value));
    QCOMPARE(result.model.box_min.z, 0.0); // of the vertex on the second bone
    QCOMPARE(result.model.box_max.z, 5.0); // of those on the first
}

void ImportPosesTest::shapesStandAtTheirWeights()
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

void ImportPosesTest::animationsMayBeBroken()
{
    Builder builder = gltffiles::triangle();
    const QJsonObject sampler{{"input", 99}, {"output", -3}};
    const QJsonObject channel{{"sampler", 0}, {"target", QJsonObject{{"node", 0}, {"path", "translation"}}}};
    builder.json["animations"] =
        QJsonArray{QJsonObject{{"samplers", QJsonArray{sampler}}, {"channels", QJsonArray{channel}}}};
    QCOMPARE(reason(gltf(builder)), QString("ok"));
    QCOMPARE(reason(importFile(*m_folder, "model.glb", builder.glb(), kFormatGlb)), QString("ok"));
}

void ImportPosesTest::firstAnimationGivesThePose_data()
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

void ImportPosesTest::firstAnimationGivesThePose()
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

void ImportPosesTest::shapesStandWhereTheFirstAnimationBegins()
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

OV3D_TEST_MAIN(ImportPosesTest)
#include "tst_importposes.moc"
