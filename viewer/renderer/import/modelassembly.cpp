#include "viewer/renderer/import/modelassembly.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <tuple>

namespace ov3d::renderer {
namespace {

/// A radius below it has no reciprocal: everything stands at one point.
constexpr double kLeastScale = 1e-150;

Vec3 positionAt(const MeshData& mesh, std::size_t vertex)
{
    return {mesh.positions[vertex * 3], mesh.positions[vertex * 3 + 1], mesh.positions[vertex * 3 + 2]};
}

/// Sets the box, its centre as the origin, and the distance of the farthest vertex as radius and scale.
void measure(const std::vector<MeshData>& meshes, const std::vector<MeshInstance>& instances, ModelData& model)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Vec3 low{infinity, infinity, infinity};
    Vec3 high{-infinity, -infinity, -infinity};
    const auto forEachPoint = [&](auto use) {
        for (const MeshInstance& instance : instances)
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
    model.frame.scale = radius > kLeastScale ? radius : 1.0;
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

void merge(const std::vector<MeshData>& meshes, const std::vector<MeshInstance>& instances, ModelData& model)
{
    std::map<MergeKey, std::size_t> merged;
    for (const MeshInstance& instance : instances) {
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

} // namespace

void assembleModel(const std::vector<MeshData>& meshes, const std::vector<MeshInstance>& instances, ModelData& model)
{
    if (instances.empty())
        return;
    measure(meshes, instances, model);
    merge(meshes, instances, model);
}

} // namespace ov3d::renderer
