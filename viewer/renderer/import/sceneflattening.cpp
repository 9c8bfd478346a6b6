#include "viewer/renderer/import/sceneflattening.h"

#include "viewer/renderer/import/assimpmatrix.h"
#include "viewer/renderer/import/materialreader.h"
#include "viewer/renderer/import/modelassembly.h"
#include "viewer/renderer/import/posedmesh.h"

#include <algorithm>
#include <assimp/scene.h>
#include <cmath>
#include <limits>
#include <new>
#include <set>
#include <utility>

namespace ov3d::renderer {
namespace {

struct Placement
{
    std::vector<MeshInstance> instances;
    NodePlaces nodes;
};

/// Walks the nodes without recursion: files nest them tens of thousands deep.
Placement placeNodes(const aiScene& scene, const Matrix& toWorld)
{
    Placement placement;
    std::vector<std::pair<const aiNode*, Matrix>> stack;
    if (scene.mRootNode)
        stack.emplace_back(scene.mRootNode, toWorld);
    while (!stack.empty()) {
        const auto [node, parent] = stack.back();
        stack.pop_back();
        Matrix place = parent * toMatrix(node->mTransformation);
        if (!place.isFinite())
            place = parent;
        placement.nodes.try_emplace(node->mName.C_Str(), place);
        for (unsigned i = 0; i < node->mNumMeshes; ++i)
            if (node->mMeshes[i] < scene.mNumMeshes)
                placement.instances.push_back({node->mMeshes[i], place});
        for (unsigned i = node->mNumChildren; i > 0; --i)
            if (node->mChildren[i - 1])
                stack.emplace_back(node->mChildren[i - 1], place);
    }
    return placement;
}

/// Reads the materials that the meshes use, once each. @return our index for each of the scene's.
std::map<unsigned, unsigned> readMaterials(const aiScene& scene, const std::vector<MeshInstance>& instances,
                                           MaterialReader& materials, ModelData& model)
{
    std::set<unsigned> used;
    for (const MeshInstance& instance : instances)
        used.insert(scene.mMeshes[instance.mesh]->mMaterialIndex);
    std::map<unsigned, unsigned> ours;
    for (const unsigned index : used) {
        ours[index] = static_cast<unsigned>(model.materials.size());
        model.materials.push_back(materials.read(index));
    }
    return ours;
}

} // namespace

void flattenScene(const aiScene& scene, const Matrix& toWorld, bool replaceNormals, MaterialReader& materials,
                  ModelData& model, const std::function<void(int)>& progress)
{
    Placement placement = placeNodes(scene, toWorld);
    std::erase_if(placement.instances, [&](const MeshInstance& i) { return scene.mMeshes[i.mesh]->mNumFaces == 0; });
    const auto ours = readMaterials(scene, placement.instances, materials, model);
    progress(20);

    std::vector<MeshData> meshes(scene.mNumMeshes);
    std::vector<bool> done(scene.mNumMeshes, false);
    std::size_t count = 0;
    for (MeshInstance& instance : placement.instances) {
        const aiMesh& source = *scene.mMeshes[instance.mesh];
        if (!done[instance.mesh]) {
            const unsigned material = ours.at(source.mMaterialIndex);
            const MaterialData& data = model.materials[material];
            MeshLook look;
            look.texcoords = materials.texcoordUse(source.mMaterialIndex);
            look.textured = data.base_texture >= 0;
            std::copy_n(data.base_colour, 4, look.base_colour);
            look.linearColours = materials.hasLinearColours();
            look.replaceNormals = replaceNormals;
            meshes[instance.mesh] = readMesh(source, look, placement.nodes);
            meshes[instance.mesh].material = material;
            done[instance.mesh] = true;
        }
        // Bones have placed it already.
        if (source.HasBones())
            instance.place = Matrix{};
        progress(20 + static_cast<int>(60 * ++count / placement.instances.size()));
    }
    std::erase_if(placement.instances, [&](const MeshInstance& i) { return meshes[i.mesh].indices.empty(); });
    assembleModel(meshes, placement.instances, model);
    progress(100);
}

} // namespace ov3d::renderer
