#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/matrix.h"
#include "viewer/renderer/import/meshtools.h"

#include <cmath>
#include <limits>
#include <numeric>

using namespace ov3d::renderer;

namespace {

/// Two triangles that share the edge from (0,0,0) to (0,0,1) and turn by an angle, each with vertices of its own.
MeshData fold(double degrees)
{
    const double a = degrees * M_PI / 180;
    const auto x = static_cast<float>(std::cos(a));
    const auto y = static_cast<float>(-std::sin(a));
    MeshData mesh;
    mesh.positions = {-1, 0, 0, 0, 0, 1, 0, 0, 0, /**/ 0, 0, 0, 0, 0, 1, x, y, 0};
    mesh.indices = {0, 1, 2, 3, 4, 5};
    return mesh;
}

Vec3 normalAt(const MeshData& mesh, std::size_t vertex)
{
    return {mesh.normals[vertex * 3], mesh.normals[vertex * 3 + 1], mesh.normals[vertex * 3 + 2]};
}

} // namespace

class MeshToolsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void gentleEdgesBecomeSmooth();
    void sharpEdgesStayHard();
    void tinyFacesHaveNormalsToo();
    void brokenNormalsBecomeTheFaces();
    void equalVerticesAreJoined();
    void verticesThatDifferInColourAreNotJoined();
    void unusedVerticesAreDropped();
    void normalsOfAMirroredPlaceStillPointOutwards();
};

void MeshToolsTest::gentleEdgesBecomeSmooth()
{
    MeshData mesh = fold(30);
    generateNormals(mesh);
    const Vec3 left = normalAt(mesh, 2);
    const Vec3 right = normalAt(mesh, 3);
    QVERIFY(length(left - right) < 1e-6);
    QVERIFY(qAbs(length(left) - 1) < 1e-6);
    QVERIFY(length(normalAt(mesh, 0) - left) > 0.1);
}

void MeshToolsTest::sharpEdgesStayHard()
{
    MeshData mesh = fold(60);
    generateNormals(mesh);
    QVERIFY(length(normalAt(mesh, 2) - normalAt(mesh, 0)) < 1e-6);
    QVERIFY(length(normalAt(mesh, 2) - normalAt(mesh, 3)) > 0.5);
}

void MeshToolsTest::tinyFacesHaveNormalsToo()
{
    MeshData mesh = fold(0);
    for (float& value : mesh.positions)
        value *= 1e-20f;
    generateNormals(mesh);
    QVERIFY(qAbs(length(normalAt(mesh, 0)) - 1) < 1e-6);
}

void MeshToolsTest::brokenNormalsBecomeTheFaces()
{
    MeshData mesh = fold(0);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    mesh.normals = {0, 5, 0, 0, 0, 0, nan, 0, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0};
    repairNormals(mesh);
    for (std::size_t vertex = 0; vertex < 6; ++vertex)
        QVERIFY(length(normalAt(mesh, vertex) - Vec3{0, 1, 0}) < 1e-6);
}

void MeshToolsTest::equalVerticesAreJoined()
{
    MeshData mesh = fold(0);
    generateNormals(mesh);
    joinIdenticalVertices(mesh);
    QCOMPARE(mesh.positions.size(), std::size_t{4 * 3});
    QCOMPARE(mesh.normals.size(), std::size_t{4 * 3});
    QCOMPARE(mesh.indices.size(), std::size_t{6});
    QCOMPARE(mesh.indices[2], mesh.indices[3]);
    QCOMPARE(mesh.indices[1], mesh.indices[4]);
}

void MeshToolsTest::verticesThatDifferInColourAreNotJoined()
{
    MeshData mesh = fold(0);
    mesh.colours.assign(6 * 4, 255);
    mesh.colours[3 * 4] = 0;
    joinIdenticalVertices(mesh);
    QCOMPARE(mesh.positions.size(), std::size_t{5 * 3});
    QCOMPARE(mesh.colours.size(), std::size_t{5 * 4});
}

void MeshToolsTest::unusedVerticesAreDropped()
{
    MeshData mesh;
    mesh.positions = {9, 9, 9, 0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh.indices = {1, 2, 3};
    joinIdenticalVertices(mesh);
    QCOMPARE(mesh.positions, (std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    QCOMPARE(mesh.indices, (std::vector<std::uint32_t>{0, 1, 2}));
}

void MeshToolsTest::normalsOfAMirroredPlaceStillPointOutwards()
{
    Matrix place;
    place.m[0][0] = -2;
    const Vec3 sideways = place.forNormals().direction({1, 0, 0});
    const Vec3 up = place.forNormals().direction({0, 1, 0});
    QVERIFY(sideways.x < 0);
    QVERIFY(up.y > 0);
}

OV3D_TEST_MAIN(MeshToolsTest)
#include "tst_meshtools.moc"
