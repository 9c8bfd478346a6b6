#include "viewer/renderer/import/posedmesh.h"

#include "viewer/renderer/import/assimpmatrix.h"
#include "viewer/renderer/import/meshtools.h"

#include <algorithm>
#include <assimp/mesh.h>
#include <cmath>
#include <limits>

namespace ov3d::renderer {
namespace {

Vec3 toVec3(const aiVector3D& v)
{
    return {v.x, v.y, v.z};
}

void append(std::vector<float>& values, Vec3 v)
{
    values.push_back(static_cast<float>(v.x));
    values.push_back(static_cast<float>(v.y));
    values.push_back(static_cast<float>(v.z));
}

std::uint8_t toByte(float value)
{
    return static_cast<std::uint8_t>(std::lround(value * 255.0f));
}

float clamped(float value)
{
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
}

/// For each vertex the weighted sum of the bones' maps from the mesh to the scene.
std::vector<Matrix> boneMaps(const aiMesh& mesh, const NodePlaces& places)
{
    Matrix zero;
    for (auto& row : zero.m)
        std::fill(std::begin(row), std::end(row), 0.0);
    std::vector<Matrix> maps(mesh.mNumVertices, zero);
    std::vector<double> total(mesh.mNumVertices, 0.0);

    for (unsigned i = 0; i < mesh.mNumBones; ++i) {
        const aiBone& bone = *mesh.mBones[i];
        const auto place = places.find(bone.mName.C_Str());
        const Matrix map = place != places.end() ? place->second * toMatrix(bone.mOffsetMatrix) : Matrix{};
        for (unsigned k = 0; k < bone.mNumWeights; ++k) {
            const aiVertexWeight& weight = bone.mWeights[k];
            total[weight.mVertexId] += double{weight.mWeight};
            for (int row = 0; row < 3; ++row)
                for (int column = 0; column < 4; ++column)
                    maps[weight.mVertexId].m[row][column] += map.m[row][column] * double{weight.mWeight};
        }
    }
    for (std::size_t v = 0; v < maps.size(); ++v) {
        if (total[v] <= 0)
            maps[v] = Matrix{};
        else
            for (auto& row : maps[v].m)
                for (double& value : row)
                    value /= total[v];
    }
    return maps;
}

/// Bones of a damaged file can move a vertex beyond all numbers; then it stays where it is.
Vec3 posed(const Matrix& map, Vec3 position)
{
    const Vec3 moved = map.point(position);
    const auto fits = [](double value) { return std::abs(value) < double{std::numeric_limits<float>::max()}; };
    return fits(moved.x) && fits(moved.y) && fits(moved.z) ? moved : position;
}

void readVertices(const aiMesh& mesh, bool withNormals, const NodePlaces& places, MeshData& out)
{
    const std::vector<Matrix> maps = mesh.HasBones() ? boneMaps(mesh, places) : std::vector<Matrix>();
    out.positions.reserve(std::size_t{mesh.mNumVertices} * 3);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        const Vec3 position = toVec3(mesh.mVertices[i]);
        append(out.positions, maps.empty() ? position : posed(maps[i], position));
        if (!withNormals)
            continue;
        const Vec3 normal = toVec3(mesh.mNormals[i]);
        append(out.normals, maps.empty() ? normal : maps[i].forNormals().direction(normal));
    }
}

void readTexcoords(const aiMesh& mesh, const MeshLook& look, MeshData& out)
{
    const unsigned set = look.texcoords.set < AI_MAX_NUMBER_OF_TEXTURECOORDS ? look.texcoords.set : 0;
    const aiVector3D* source = mesh.mTextureCoords[set] ? mesh.mTextureCoords[set] : mesh.mTextureCoords[0];
    if (!look.textured || source == nullptr)
        return;
    out.texcoords.reserve(std::size_t{mesh.mNumVertices} * 2);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        for (const auto& row : look.texcoords.m) {
            const double value = row[0] * double{source[i].x} + row[1] * double{source[i].y} + row[2];
            out.texcoords.push_back(static_cast<float>(value));
        }
    }
}

void readColours(const aiMesh& mesh, const MeshLook& look, MeshData& out)
{
    const aiColor4D* source = mesh.mColors[0];
    if (source == nullptr)
        return;
    out.colours.reserve(std::size_t{mesh.mNumVertices} * 4);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            const float own =
                look.linearColours ? displayedFromLinear(source[i][channel]) : clamped(source[i][channel]);
            out.colours.push_back(toByte(own * look.base_colour[channel]));
        }
        out.colours.push_back(toByte(clamped(source[i].a) * look.base_colour[3]));
    }
}

Primitive primitiveOf(const aiMesh& mesh)
{
    if (mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE)
        return Primitive::triangles;
    return mesh.mPrimitiveTypes & aiPrimitiveType_LINE ? Primitive::lines : Primitive::points;
}

unsigned cornersOf(Primitive primitive)
{
    return primitive == Primitive::triangles ? 3 : primitive == Primitive::lines ? 2 : 1;
}

} // namespace

MeshData readMesh(const aiMesh& mesh, const MeshLook& look, const NodePlaces& places)
{
    MeshData out;
    out.primitive = primitiveOf(mesh);
    const bool solid = out.primitive == Primitive::triangles;
    const bool ownNormals = solid && mesh.mNormals != nullptr && !look.replaceNormals;
    readVertices(mesh, ownNormals, places, out);
    readTexcoords(mesh, look, out);
    readColours(mesh, look, out);

    const unsigned corners = cornersOf(out.primitive);
    out.indices.reserve(std::size_t{mesh.mNumFaces} * corners);
    for (unsigned i = 0; i < mesh.mNumFaces; ++i)
        if (mesh.mFaces[i].mNumIndices == corners)
            out.indices.insert(out.indices.end(), mesh.mFaces[i].mIndices, mesh.mFaces[i].mIndices + corners);

    if (ownNormals)
        repairNormals(out);
    else if (solid)
        generateNormals(out);
    joinIdenticalVertices(out);
    return out;
}

} // namespace ov3d::renderer
