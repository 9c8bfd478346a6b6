#include "models/samples.h"
#include "models/textures.h"
#include "models/writers.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace ov3d::models;

class SampleModelsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void normalsAreUnitVectorsOnTheOutside();
    void closedSolidsEncloseAVolume();
    void stillLifeIsSmallEnoughForEveryMachine();
    void frontOfTheCubeBearsTheNamedColours();
    void glbIsWhatItsHeaderSays();
    void gltfFindsItsSideFilesInASubFolder();
    void objNamesItsLibraryAndTexture();
    void binaryStlHasFiftyBytesATriangle();
    void fbxNodesEndWhereTheySay();
    void sameModelGivesTheSameBytes();
    void gridHasAtLeastTheAskedTriangles();
    void unwritableFolderIsReported();

private:
    QByteArray read(const QString& name) const
    {
        QFile file(m_folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    QTemporaryDir m_folder;
};

namespace {

std::uint32_t number(const QByteArray& bytes, int at)
{
    std::uint32_t value = 0;
    if (at >= 0 && at + 4 <= bytes.size())
        std::memcpy(&value, bytes.constData() + at, 4);
    return value;
}

double dot(Vec3 a, Vec3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

double volume(const Mesh& mesh)
{
    double six = 0;
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3)
        six += dot(mesh.positions[mesh.indices[i]],
                   cross(mesh.positions[mesh.indices[i + 1]], mesh.positions[mesh.indices[i + 2]]));
    return six / 6;
}

} // namespace

void SampleModelsTest::normalsAreUnitVectorsOnTheOutside()
{
    for (const Part& part : stillLife()) {
        const Mesh& mesh = part.mesh;
        QCOMPARE(mesh.normals.size(), mesh.positions.size());
        QCOMPARE(mesh.uvs.size(), mesh.positions.size());
        for (const Vec3& n : mesh.normals)
            QVERIFY2(std::abs(dot(n, n) - 1) < 1e-6, qPrintable(part.name));
        int wrong = 0;
        for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
            const Vec3 a = mesh.positions[mesh.indices[i]];
            const Vec3 face = cross(mesh.positions[mesh.indices[i + 1]] - a, mesh.positions[mesh.indices[i + 2]] - a);
            const Vec3 sum =
                mesh.normals[mesh.indices[i]] + mesh.normals[mesh.indices[i + 1]] + mesh.normals[mesh.indices[i + 2]];
            wrong += dot(face, sum) < -1e-12 ? 1 : 0;
        }
        QVERIFY2(wrong == 0, qPrintable(QStringLiteral("%1: %2 triangles").arg(part.name).arg(wrong)));
    }
}

void SampleModelsTest::closedSolidsEncloseAVolume()
{
    QVERIFY(std::abs(volume(merged(texturedCube())) - 8) < 1e-9);
    const double die = volume(roundedCube(1, 0.15, 5));
    QVERIFY2(die > 0.9 && die < 1, qPrintable(QString::number(die)));
    for (Part part : stillLife()) {
        // Stems are open tubes: about their own middle, they have a volume too.
        part.mesh.translate(part.mesh.positions.at(part.mesh.positions.size() / 2) * -1);
        QVERIFY2(volume(part.mesh) > 0, qPrintable(part.name));
    }
}

void SampleModelsTest::stillLifeIsSmallEnoughForEveryMachine()
{
    std::size_t triangles = 0;
    int textures = 0;
    for (const Part& part : stillLife()) {
        triangles += part.mesh.triangleCount();
        textures += part.material.texture.isNull() ? 0 : 1;
        for (const std::uint32_t index : part.mesh.indices)
            QVERIFY(index < part.mesh.positions.size());
    }
    QVERIFY2(triangles > 5000 && triangles <= 20000, qPrintable(QString::number(triangles)));
    QVERIFY(textures >= 3);
}

void SampleModelsTest::frontOfTheCubeBearsTheNamedColours()
{
    const Model cube = texturedCube();
    const Part& front = cube.at(0);
    const QImage texture = front.material.texture;
    for (std::size_t i = 0; i < front.mesh.positions.size(); ++i) {
        const Vec3 p = front.mesh.positions[i];
        QCOMPARE(p.z, 1.0);
        // A texel a quarter of the side away from the corner lies in that corner's area.
        const double u = 0.5 + (front.mesh.uvs[i].x - 0.5) / 2;
        const double v = 0.5 + (front.mesh.uvs[i].y - 0.5) / 2;
        const QColor found =
            texture.pixelColor(static_cast<int>(u * texture.width()), static_cast<int>(v * texture.height()));
        const QColor top = p.x < 0 ? QColor(220, 40, 40) : QColor(40, 80, 220);
        const QColor bottom = p.x < 0 ? QColor(240, 200, 40) : QColor(245, 245, 245);
        QCOMPARE(found, p.y > 0 ? top : bottom);
    }
}

void SampleModelsTest::glbIsWhatItsHeaderSays()
{
    QCOMPARE(writeGlb(path("a.glb"), stillLife()), QString());
    const QByteArray file = read(QStringLiteral("a.glb"));
    QCOMPARE(file.left(4), QByteArray("glTF"));
    QCOMPARE(number(file, 4), 2u);
    QCOMPARE(number(file, 8), static_cast<std::uint32_t>(file.size()));
    const auto jsonSize = static_cast<int>(number(file, 12));
    QCOMPARE(jsonSize % 4, 0);
    const QJsonObject json = QJsonDocument::fromJson(file.mid(20, jsonSize)).object();
    const auto binSize = static_cast<int>(number(file, 20 + jsonSize));
    QCOMPARE(28 + jsonSize + binSize, file.size());
    QCOMPARE(json.value(QLatin1String("buffers")).toArray().at(0).toObject().value(QLatin1String("byteLength")).toInt(),
             binSize);
    for (const QJsonValue& value : json.value(QLatin1String("bufferViews")).toArray()) {
        const QJsonObject view = value.toObject();
        QCOMPARE(view.value(QLatin1String("byteOffset")).toInt() % 4, 0);
        QVERIFY(view.value(QLatin1String("byteOffset")).toInt() + view.value(QLatin1String("byteLength")).toInt() <=
                binSize);
    }
}

void SampleModelsTest::gltfFindsItsSideFilesInASubFolder()
{
    QCOMPARE(writeGltf(path("b.gltf"), texturedCube(), QStringLiteral("files")), QString());
    const QJsonObject json = QJsonDocument::fromJson(read(QStringLiteral("b.gltf"))).object();
    QCOMPARE(json.value(QLatin1String("asset")).toObject().value(QLatin1String("version")).toString(),
             QStringLiteral("2.0"));
    const QJsonObject buffer = json.value(QLatin1String("buffers")).toArray().at(0).toObject();
    QCOMPARE(read(buffer.value(QLatin1String("uri")).toString()).size(),
             buffer.value(QLatin1String("byteLength")).toInt());
    const QString image =
        json.value(QLatin1String("images")).toArray().at(0).toObject().value(QLatin1String("uri")).toString();
    QCOMPARE(image, QStringLiteral("files/quarters.png"));
    QCOMPARE(QImage(m_folder.filePath(image)).size(), QSize(256, 256));
}

void SampleModelsTest::objNamesItsLibraryAndTexture()
{
    QCOMPARE(writeObj(path("c.obj"), texturedCube(), QStringLiteral("pictures")), QString());
    QVERIFY(read(QStringLiteral("c.obj")).startsWith("mtllib c.mtl\n"));
    QCOMPARE(read(QStringLiteral("c.obj")).count("\nf "), 12);
    QVERIFY(read(QStringLiteral("c.mtl")).contains("map_Kd pictures/quarters.png\n"));
    QVERIFY(!read(QStringLiteral("pictures/quarters.png")).isEmpty());
}

void SampleModelsTest::binaryStlHasFiftyBytesATriangle()
{
    const Mesh mesh = merged(texturedCube());
    QCOMPARE(writeBinaryStl(path("d.stl"), mesh), QString());
    QCOMPARE(read(QStringLiteral("d.stl")).size(), 84 + 50 * 12);
    QCOMPARE(number(read(QStringLiteral("d.stl")), 80), 12u);
    QVERIFY(!read(QStringLiteral("d.stl")).startsWith("solid")); // that would make it a text STL
    QCOMPARE(writeTextStl(path("e.stl"), mesh), QString());
    QVERIFY(read(QStringLiteral("e.stl")).startsWith("solid"));
    QCOMPARE(read(QStringLiteral("e.stl")).count("vertex"), 36);
}

void SampleModelsTest::fbxNodesEndWhereTheySay()
{
    QCOMPARE(writeFbx(path("f.fbx"), merged(texturedCube()), {}), QString());
    const QByteArray file = read(QStringLiteral("f.fbx"));
    QCOMPARE(file.left(23), QByteArray("Kaydara FBX Binary  \0\x1a\0", 23));
    QCOMPARE(number(file, 23), 7400u);
    QStringList names;
    int at = 27;
    while (const auto end = static_cast<int>(number(file, at))) {
        QVERIFY(end > at && end <= file.size());
        names << QString::fromLatin1(file.mid(at + 13, file.at(at + 12)));
        at = end;
    }
    QCOMPARE(names, QStringList({QStringLiteral("FBXHeaderExtension"), QStringLiteral("GlobalSettings"),
                                 QStringLiteral("Objects"), QStringLiteral("Connections")}));
    QCOMPARE(at + 13, file.size());
}

void SampleModelsTest::sameModelGivesTheSameBytes()
{
    QCOMPARE(writeGlb(path("g.glb"), stillLife()), QString());
    const QByteArray first = read(QStringLiteral("g.glb"));
    QCOMPARE(writeGlb(path("g.glb"), stillLife()), QString());
    QVERIFY(!first.isEmpty());
    QVERIFY(read(QStringLiteral("g.glb")) == first);
}

void SampleModelsTest::gridHasAtLeastTheAskedTriangles()
{
    for (const int count : {2, 3, 100, 5000}) {
        const std::size_t found = merged(wavyGrid(count)).triangleCount();
        QVERIFY(found >= static_cast<std::size_t>(count));
        QVERIFY(found <= static_cast<std::size_t>(count) + 4 * static_cast<std::size_t>(std::sqrt(count)) + 8);
    }
}

void SampleModelsTest::unwritableFolderIsReported()
{
    QVERIFY(!writeGlb(QStringLiteral("/proc/none/a.glb"), texturedCube()).isEmpty());
}

OV3D_TEST_MAIN(SampleModelsTest)
#include "samplemodels_test.moc"
