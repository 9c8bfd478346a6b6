#include "viewer/renderer/import/scenechecks.h"

#include "viewer/renderer/import/largepolygons.h"

#include <algorithm>
#include <assimp/scene.h>
#include <cmath>
#include <cstdint>

namespace ov3d::renderer {
namespace {

bool isFinite(const aiVector3D& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

template <typename T> void drop(T*& array)
{
    delete[] array;
    array = nullptr;
}

bool isUsable(const aiMesh& mesh, const aiFace& face)
{
    if (face.mNumIndices == 0 || face.mIndices == nullptr)
        return false;
    return std::all_of(face.mIndices, face.mIndices + face.mNumIndices, [&mesh](unsigned index) {
        return index < mesh.mNumVertices && isFinite(mesh.mVertices[index]);
    });
}

unsigned primitiveType(unsigned indices)
{
    switch (indices) {
    case 1:
        return aiPrimitiveType_POINT;
    case 2:
        return aiPrimitiveType_LINE;
    case 3:
        return aiPrimitiveType_TRIANGLE;
    default:
        return aiPrimitiveType_POLYGON;
    }
}

/// @return how many faces were dropped.
std::uint64_t repairFaces(aiMesh& mesh)
{
    if (mesh.mFaces == nullptr || mesh.mVertices == nullptr)
        mesh.mNumFaces = 0;
    unsigned kept = 0;
    mesh.mPrimitiveTypes = 0;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        aiFace& face = mesh.mFaces[i];
        if (!isUsable(mesh, face))
            continue;
        mesh.mPrimitiveTypes |= primitiveType(face.mNumIndices);
        if (kept != i) {
            std::swap(mesh.mFaces[kept].mIndices, face.mIndices);
            std::swap(mesh.mFaces[kept].mNumIndices, face.mNumIndices);
        }
        ++kept;
    }
    const unsigned dropped = mesh.mNumFaces - kept;
    mesh.mNumFaces = kept;
    // What follows takes no mesh without a type, not even an empty one.
    if (kept == 0)
        mesh.mPrimitiveTypes = aiPrimitiveType_POINT;
    return dropped;
}

/// Some files have vertices and nothing else: a cloud of points.
void makePoints(aiMesh& mesh)
{
    if (mesh.mNumFaces > 0 || mesh.mNumVertices == 0 || mesh.mVertices == nullptr)
        return;
    drop(mesh.mFaces);
    mesh.mFaces = new aiFace[mesh.mNumVertices];
    mesh.mNumFaces = mesh.mNumVertices;
    mesh.mPrimitiveTypes = aiPrimitiveType_POINT;
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        mesh.mFaces[i].mNumIndices = 1;
        mesh.mFaces[i].mIndices = new unsigned[1]{i};
    }
}

void repairAttributes(aiMesh& mesh)
{
    if (mesh.mNormals && !std::all_of(mesh.mNormals, mesh.mNormals + mesh.mNumVertices, isFinite))
        drop(mesh.mNormals);
    drop(mesh.mTangents);
    drop(mesh.mBitangents);
    for (auto* texcoords : mesh.mTextureCoords)
        for (unsigned i = 0; texcoords && i < mesh.mNumVertices; ++i)
            if (!isFinite(texcoords[i]))
                texcoords[i] = aiVector3D();
}

/// Adds what a shape changes, times its weight. Shapes stand as whole meshes beside the mesh that they change.
void mix(aiVector3D* values, const aiVector3D* base, const aiVector3D* shape, unsigned count, float weight)
{
    for (unsigned i = 0; values && shape && i < count; ++i) {
        const aiVector3D change = (shape[i] - base[i]) * weight;
        if (isFinite(change))
            values[i] += change;
    }
}

void mixShapes(aiMesh& mesh)
{
    const std::vector<aiVector3D> positions(mesh.mVertices, mesh.mVertices + mesh.mNumVertices);
    std::vector<aiVector3D> normals;
    if (mesh.mNormals)
        normals.assign(mesh.mNormals, mesh.mNormals + mesh.mNumVertices);
    for (unsigned i = 0; i < mesh.mNumAnimMeshes; ++i) {
        const aiAnimMesh* shape = mesh.mAnimMeshes[i];
        if (!shape || shape->mNumVertices != mesh.mNumVertices || !std::isfinite(shape->mWeight) || shape->mWeight == 0)
            continue;
        mix(mesh.mVertices, positions.data(), shape->mVertices, mesh.mNumVertices, shape->mWeight);
        mix(mesh.mNormals, normals.data(), shape->mNormals, mesh.mNumVertices, shape->mWeight);
    }
}

void dropShapes(aiMesh& mesh)
{
    for (unsigned i = 0; mesh.mAnimMeshes && i < mesh.mNumAnimMeshes; ++i)
        delete mesh.mAnimMeshes[i];
    drop(mesh.mAnimMeshes);
    mesh.mNumAnimMeshes = 0;
}

std::string faces(std::uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " face" : " faces");
}

void repairBones(aiMesh& mesh)
{
    for (unsigned i = 0; i < mesh.mNumBones; ++i) {
        aiBone& bone = *mesh.mBones[i];
        for (unsigned k = 0; k < bone.mNumWeights; ++k) {
            aiVertexWeight& weight = bone.mWeights[k];
            if (weight.mVertexId >= mesh.mNumVertices || !std::isfinite(weight.mWeight))
                weight = aiVertexWeight(0, 0.0F);
        }
    }
}

} // namespace

std::vector<std::string> repairScene(aiScene& scene, bool shapesAtWeights)
{
    std::uint64_t dropped = 0;
    LargePolygons polygons;
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        aiMesh& mesh = *scene.mMeshes[i];
        if (shapesAtWeights && mesh.mVertices && mesh.mAnimMeshes)
            mixShapes(mesh);
        dropShapes(mesh);
        makePoints(mesh);
        dropped += repairFaces(mesh);
        polygons.replace(mesh);
        repairAttributes(mesh);
        repairBones(mesh);
    }
    std::vector<std::string> notes;
    if (dropped > 0)
        notes.push_back(faces(dropped) + " with positions that do not exist or are no numbers left out");
    if (polygons.dropped() > 0)
        notes.push_back(faces(polygons.dropped()) + " with too many corners left out");
    return notes;
}

} // namespace ov3d::renderer
