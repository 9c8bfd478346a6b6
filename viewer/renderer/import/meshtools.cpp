#include "viewer/renderer/import/meshtools.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <numeric>
#include <span>

namespace ov3d::renderer {
namespace {

/// Around a vertex with more faces than this, all of them are averaged: comparing each with each would take for ever.
constexpr std::size_t kMaxComparedFaces = 128;

Vec3 vertexAt(const std::vector<float>& values, std::size_t index)
{
    return {values[index * 3], values[index * 3 + 1], values[index * 3 + 2]};
}

void storeAt(std::vector<float>& values, std::size_t index, Vec3 v)
{
    values[index * 3] = static_cast<float>(v.x);
    values[index * 3 + 1] = static_cast<float>(v.y);
    values[index * 3 + 2] = static_cast<float>(v.z);
}

/// @return a unit vector, or zero when there is none.
Vec3 normalised(Vec3 v)
{
    const double size = length(v);
    return size > 0 && std::isfinite(size) ? v * (1.0 / size) : Vec3{};
}

Vec3 faceNormal(const MeshData& mesh, std::size_t face)
{
    const Vec3 a = vertexAt(mesh.positions, mesh.indices[face * 3]);
    const Vec3 b = vertexAt(mesh.positions, mesh.indices[face * 3 + 1]);
    const Vec3 c = vertexAt(mesh.positions, mesh.indices[face * 3 + 2]);
    // Unit edges first: the product of two tiny ones would vanish.
    return normalised(cross(normalised(b - a), normalised(c - a)));
}

double cornerAngle(const MeshData& mesh, std::size_t corner)
{
    const std::size_t face = corner - corner % 3;
    const std::size_t first = face + (corner + 1) % 3;
    const std::size_t second = face + (corner + 2) % 3;
    const Vec3 here = vertexAt(mesh.positions, mesh.indices[corner]);
    const Vec3 u = normalised(vertexAt(mesh.positions, mesh.indices[first]) - here);
    const Vec3 v = normalised(vertexAt(mesh.positions, mesh.indices[second]) - here);
    return std::acos(std::clamp(dot(u, v), -1.0, 1.0));
}

struct Corner
{
    std::array<float, 3> place;
    std::uint32_t index;
};

/// Corners, ordered so that those at one place stand together.
std::vector<Corner> cornersByPlace(const MeshData& mesh)
{
    std::vector<Corner> corners(mesh.indices.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::size_t at = std::size_t{mesh.indices[i]} * 3;
        corners[i] = {{mesh.positions[at], mesh.positions[at + 1], mesh.positions[at + 2]},
                      static_cast<std::uint32_t>(i)};
    }
    std::sort(corners.begin(), corners.end(), [](const Corner& a, const Corner& b) {
        return a.place != b.place ? a.place < b.place : a.index < b.index;
    });
    return corners;
}

template <typename Value>
void spread(std::vector<Value>& values, std::size_t components, const std::vector<std::uint32_t>& sources)
{
    if (values.empty())
        return;
    std::vector<Value> result(sources.size() * components);
    for (std::size_t i = 0; i < sources.size(); ++i)
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(sources[i] * components), components,
                    result.begin() + static_cast<std::ptrdiff_t>(i * components));
    values = std::move(result);
}

void rearrange(MeshData& mesh, const std::vector<std::uint32_t>& sources)
{
    spread(mesh.positions, 3, sources);
    spread(mesh.normals, 3, sources);
    spread(mesh.texcoords, 2, sources);
    spread(mesh.colours, 4, sources);
}

/// Hashes and compares whole vertices.
class VertexKey
{
public:
    explicit VertexKey(const MeshData& mesh)
        : m_mesh(mesh)
    {
    }

    [[nodiscard]] std::uint64_t hash(std::uint32_t vertex) const
    {
        std::uint64_t value = 1469598103934665603ULL;
        forEachPart([&](const auto* data, std::size_t components) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(data + vertex * components);
            for (std::size_t i = 0; i < components * sizeof(*data); i += 4) {
                std::uint32_t word = 0;
                std::memcpy(&word, bytes + i, 4);
                value = (value ^ word) * 1099511628211ULL;
                value ^= value >> 29;
            }
            return true;
        });
        return value;
    }

    [[nodiscard]] bool equal(std::uint32_t a, std::uint32_t b) const
    {
        return forEachPart([&](const auto* data, std::size_t components) {
            return std::memcmp(data + a * components, data + b * components, components * sizeof(*data)) == 0;
        });
    }

private:
    template <typename Use> bool forEachPart(Use use) const
    {
        return use(m_mesh.positions.data(), std::size_t{3}) &&
               (m_mesh.normals.empty() || use(m_mesh.normals.data(), std::size_t{3})) &&
               (m_mesh.texcoords.empty() || use(m_mesh.texcoords.data(), std::size_t{2})) &&
               (m_mesh.colours.empty() || use(m_mesh.colours.data(), std::size_t{4}));
    }

    const MeshData& m_mesh;
};

/// Writes the normals of the corners that meet at one place.
void smoothAround(const MeshData& mesh, std::span<const Corner> corners, const std::vector<float>& faceNormals,
                  double leastCosine, std::vector<float>& normals)
{
    const bool compare = corners.size() <= kMaxComparedFaces;
    std::vector<Vec3> weighted;
    Vec3 ofAll;
    for (const Corner& corner : corners) {
        weighted.push_back(vertexAt(faceNormals, corner.index / 3) * cornerAngle(mesh, corner.index));
        ofAll = ofAll + weighted.back();
    }
    for (const Corner& corner : corners) {
        const Vec3 own = vertexAt(faceNormals, corner.index / 3);
        Vec3 sum = ofAll;
        if (compare) {
            sum = {};
            for (std::size_t k = 0; k < corners.size(); ++k)
                if (dot(own, vertexAt(faceNormals, corners[k].index / 3)) >= leastCosine)
                    sum = sum + weighted[k];
        }
        const Vec3 normal = normalised(sum);
        storeAt(normals, corner.index, normal == Vec3{} ? own : normal);
    }
}

} // namespace

void generateNormals(MeshData& mesh, double creaseAngleDegrees)
{
    const std::size_t faces = mesh.indices.size() / 3;
    std::vector<float> faceNormals(faces * 3);
    for (std::size_t face = 0; face < faces; ++face)
        storeAt(faceNormals, face, faceNormal(mesh, face));

    const double leastCosine = std::cos(creaseAngleDegrees * std::numbers::pi / 180.0);
    std::vector<float> normals(mesh.indices.size() * 3);
    const std::vector<Corner> corners = cornersByPlace(mesh);
    for (std::size_t begin = 0; begin < corners.size();) {
        std::size_t end = begin + 1;
        while (end < corners.size() && corners[end].place == corners[begin].place)
            ++end;
        smoothAround(mesh, {corners.data() + begin, end - begin}, faceNormals, leastCosine, normals);
        begin = end;
    }

    rearrange(mesh, mesh.indices);
    mesh.normals = std::move(normals);
    std::iota(mesh.indices.begin(), mesh.indices.end(), 0U);
}

void repairNormals(MeshData& mesh)
{
    std::vector<std::uint8_t> broken(mesh.normals.size() / 3);
    bool any = false;
    for (std::size_t i = 0; i < broken.size(); ++i) {
        const Vec3 normal = normalised(vertexAt(mesh.normals, i));
        broken[i] = normal == Vec3{} ? 1 : 0;
        any = any || broken[i];
        storeAt(mesh.normals, i, normal);
    }
    if (!any)
        return;
    for (std::size_t corner = 0; corner < mesh.indices.size(); ++corner) {
        const std::uint32_t vertex = mesh.indices[corner];
        const Vec3 normal = broken[vertex] ? faceNormal(mesh, corner / 3) : Vec3{};
        if (!(normal == Vec3{})) {
            storeAt(mesh.normals, vertex, normal);
            broken[vertex] = 0;
        }
    }
}

void joinIdenticalVertices(MeshData& mesh)
{
    constexpr std::uint32_t none = 0xFFFFFFFFU;
    const VertexKey key(mesh);
    std::size_t buckets = 16;
    while (buckets < mesh.indices.size() * 2)
        buckets *= 2;
    std::vector<std::uint32_t> table(buckets, none); // of new indices
    std::vector<std::uint32_t> sources;              // old index of each new one
    std::vector<std::uint32_t> known(mesh.positions.size() / 3, none);

    for (std::uint32_t& index : mesh.indices) {
        if (known[index] == none) {
            std::size_t bucket = key.hash(index) & (buckets - 1);
            while (table[bucket] != none && !key.equal(sources[table[bucket]], index))
                bucket = (bucket + 1) & (buckets - 1);
            if (table[bucket] == none) {
                table[bucket] = static_cast<std::uint32_t>(sources.size());
                sources.push_back(index);
            }
            known[index] = table[bucket];
        }
        index = known[index];
    }
    rearrange(mesh, sources);
}

} // namespace ov3d::renderer
