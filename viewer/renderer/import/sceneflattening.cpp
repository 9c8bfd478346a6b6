#include "viewer/renderer/import/sceneflattening.h"

#include "viewer/renderer/import/assimpmatrix.h"
#include "viewer/renderer/import/materialreader.h"
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

/// A mesh at one of its places.
struct Instance
{
    unsigned mesh = 0;
    Matrix place;
};

struct Placement
{
    std::vector<Instance> instances;
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

Vec3 positionAt(const MeshData& mesh, std::size_t vertex)
{
    return {mesh.positions[vertex * 3], mesh.positions[vertex * 3 + 1], mesh.positions[vertex * 3 + 2]};
}

/// Sets the box, its centre as the origin, and the distance of the farthest vertex as radius and scale.
void measure(const std::vector<MeshData>& meshes, const std::vector<Instance>& instances, ModelData& model)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Vec3 low{infinity, infinity, infinity};
    Vec3 high{-infinity, -infinity, -infinity};
    const auto forEachPoint = [&](auto use) {
        for (const Instance& instance : instances)
            for (std::size_t v = 0; v < meshes[instance.mesh].positions.size() / 3; ++v)
                use(instance.place.point(positionAt(meshes[instance.mesh], v)));
    };
    forEachPoint([&](Vec3 p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    });
    model.box_min = low;
    model.box_max = high;
    model.frame.origin = low * 0.5 + high * 0.5;
    double radius = 0;
    forEachPoint([&](Vec3 p) { radius = std::max(radius, length(p - model.frame.origin)); });
    model.radius = radius;
    model.frame.scale = radius > 0 ? radius : 1.0;
}

/// Adds one mesh at its place to what there is of its material, in the model's frame.
void appendInstance(const MeshData& source, const Matrix& place, const ModelFrame& frame, MeshData& target)
{
    const std::size_t base = target.positions.size() / 3;
    const std::size_t count = source.positions.size() / 3;
    if (base + count > std::numeric_limits<std::int32_t>::max())
        throw std::bad_alloc();

    const Matrix normals = place.forNormals();
    for (std::size_t v = 0; v < count; ++v) {
        const Vec3 p = (place.point(positionAt(source, v)) - frame.origin) * (1.0 / frame.scale);
        target.positions.insert(target.positions.end(),
                                {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
        if (source.normals.empty())
            continue;
        const Vec3 n = normals.direction({source.normals[v * 3], source.normals[v * 3 + 1], source.normals[v * 3 + 2]});
        const double size = length(n);
        const double factor = size > 0 && std::isfinite(size) ? 1.0 / size : 0.0;
        target.normals.insert(target.normals.end(), {static_cast<float>(n.x * factor), static_cast<float>(n.y * factor),
                                                     static_cast<float>(n.z * factor)});
    }
    target.texcoords.insert(target.texcoords.end(), source.texcoords.begin(), source.texcoords.end());
    target.colours.insert(target.colours.end(), source.colours.begin(), source.colours.end());

    // A mirroring place turns the faces inside out.
    const bool mirrored = source.primitive == Primitive::triangles && place.determinant() < 0;
    const std::size_t first = target.indices.size();
    for (const std::uint32_t index : source.indices)
        target.indices.push_back(static_cast<std::uint32_t>(base + index));
    for (std::size_t i = first; mirrored && i + 2 < target.indices.size(); i += 3)
        std::swap(target.indices[i + 1], target.indices[i + 2]);
}

/// What must agree before two meshes can be drawn as one.
using MergeKey = std::tuple<std::uint32_t, Primitive, bool, bool>;

void merge(const std::vector<MeshData>& meshes, const std::vector<Instance>& instances, ModelData& model)
{
    std::map<MergeKey, std::size_t> merged;
    for (const Instance& instance : instances) {
        const MeshData& source = meshes[instance.mesh];
        const MergeKey key{source.material, source.primitive, source.texcoords.empty(), source.colours.empty()};
        const auto [at, isNew] = merged.try_emplace(key, model.meshes.size());
        if (isNew) {
            MeshData& fresh = model.meshes.emplace_back();
            fresh.material = source.material;
            fresh.primitive = source.primitive;
        }
        appendInstance(source, instance.place, model.frame, model.meshes[at->second]);
    }
}

/// Reads the materials that the meshes use, once each. @return our index for each of the scene's.
std::map<unsigned, unsigned> readMaterials(const aiScene& scene, const std::vector<Instance>& instances,
                                           MaterialReader& materials, ModelData& model)
{
    std::set<unsigned> used;
    for (const Instance& instance : instances)
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
    std::erase_if(placement.instances, [&](const Instance& i) { return scene.mMeshes[i.mesh]->mNumFaces == 0; });
    const auto ours = readMaterials(scene, placement.instances, materials, model);
    progress(20);

    std::vector<MeshData> meshes(scene.mNumMeshes);
    std::vector<bool> done(scene.mNumMeshes, false);
    std::size_t count = 0;
    for (Instance& instance : placement.instances) {
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
    std::erase_if(placement.instances, [&](const Instance& i) { return meshes[i.mesh].indices.empty(); });
    if (placement.instances.empty())
        return;

    measure(meshes, placement.instances, model);
    merge(meshes, placement.instances, model);
    progress(100);
}

} // namespace ov3d::renderer
