#include "tests/support/testmain.h"
#include "tests/unit/renderer/fbxfiles.h"
#include "tests/unit/renderer/importtestbase.h"
#include "viewer/renderer/import/largepolygons.h"

#include <QVector>
#include <cmath>

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

} // namespace

class ImportGeometryTest : public ImportTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pointsAloneAreShownAsPoints();
    void linesAloneAreShownAsLines();
    void coloursOfVerticesAreKept();
    void wholeNumbersBecomePositionsAndTextureCoordinates_data();
    void wholeNumbersBecomePositionsAndTextureCoordinates();
    void convexPolygonOfManyCornersIsShown();
    void otherPolygonOfManyCornersIsLeftOutAndNoted();
    void polygonsOfAnFbxAreBoundedToo();
    void manyLargePolygonsAreBoundedTogether();
    void concavePolygonOfFewCornersIsCutRight();
    void facesWithoutNumbersAreLeftOutAndNoted();
    void facesWithCornersThatDoNotExistAreLeftOutAndNoted();
};

void ImportGeometryTest::pointsAloneAreShownAsPoints()
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

void ImportGeometryTest::linesAloneAreShownAsLines()
{
    const ImportResult result = obj("v 0 0 0\nv 1 0 0\nv 0 2 0\nl 1 2 3\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::lines), std::size_t{2});
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{0});
}

void ImportGeometryTest::coloursOfVerticesAreKept()
{
    const ImportResult result = obj("v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 0 1 0 0 0 1\nf 1 2 3\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(result.model.meshes.front().colours.size(), std::size_t{12});
}

void ImportGeometryTest::wholeNumbersBecomePositionsAndTextureCoordinates_data()
{
    QTest::addColumn<bool>("isGlb");
    QTest::newRow("glTF") << false;
    QTest::newRow("GLB") << true;
}

void ImportGeometryTest::wholeNumbersBecomePositionsAndTextureCoordinates()
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

void ImportGeometryTest::convexPolygonOfManyCornersIsShown()
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

void ImportGeometryTest::otherPolygonOfManyCornersIsLeftOutAndNoted()
{
    const ImportResult result = obj(ringObj(100000, 1, 0.5) + "v 5 0 0\nv 6 0 0\nv 5 1 0\nf -1 -2 -3\n");
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(notes(result), QStringList{"1 face with too many corners left out"});
}

void ImportGeometryTest::polygonsOfAnFbxAreBoundedToo()
{
    const ImportResult result = importFile(*m_folder, "ring.fbx", fbxfiles::polygon(ring(100000)), kFormatFbx);
    QCOMPARE(reason(result), QString("ok"));
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{99998});
}

void ImportGeometryTest::manyLargePolygonsAreBoundedTogether()
{
    constexpr int corners = kMaxClippedCorners;
    const int allowed = static_cast<int>(kMaxClippingWork / (std::uint64_t{corners} * corners));
    QByteArray text = ringObj(corners, 1, 0.5);
    const QByteArray face = text.mid(text.indexOf('f'));
    const ImportResult result = obj(text + face.repeated(allowed + 2));
    QCOMPARE(notes(result), QStringList{"3 faces with too many corners left out"});
}

void ImportGeometryTest::concavePolygonOfFewCornersIsCutRight()
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

void ImportGeometryTest::facesWithoutNumbersAreLeftOutAndNoted()
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

void ImportGeometryTest::facesWithCornersThatDoNotExistAreLeftOutAndNoted()
{
    Builder builder = gltffiles::triangle();
    builder.addShorts({0, 1, 2, 0, 1, 60000}, "SCALAR");
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}}, {"indices", 2}};
    builder.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    const ImportResult result = gltf(builder);
    QCOMPARE(count(result.model, Primitive::triangles), std::size_t{1});
    QCOMPARE(notes(result), QStringList{"faces with corners that do not exist left out"});
}

OV3D_TEST_MAIN(ImportGeometryTest)
#include "tst_importgeometry.moc"
