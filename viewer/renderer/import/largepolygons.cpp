#include "viewer/renderer/import/largepolygons.h"

#include "viewer/camera/vector.h"

#include <algorithm>
#include <assimp/mesh.h>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace ov3d::renderer {
namespace {

using camera::Vec3;

/// In radians. The corners of large polygons stand so close that rounding moves them past each other.
constexpr double kAngleTolerance = 0.01;

Vec3 cornerAt(const aiMesh& mesh, const aiFace& face, unsigned corner)
{
    const aiVector3D& v = mesh.mVertices[face.mIndices[corner % face.mNumIndices]];
    return {v.x, v.y, v.z};
}

/// @return whether the triangles of a fan around the first corner lie side by side.
bool isFan(const aiMesh& mesh, const aiFace& face)
{
    const Vec3 origin = cornerAt(mesh, face, 0);
    Vec3 normal;
    for (unsigned i = 1; i + 1 < face.mNumIndices; ++i)
        normal = normal + cross(cornerAt(mesh, face, i) - origin, cornerAt(mesh, face, i + 1) - origin);
    const double size = length(normal);
    if (!(size > 0))
        return false;
    normal = normal * (1.0 / size);
    double opened = 0;
    for (unsigned i = 1; i + 1 < face.mNumIndices; ++i) {
        const Vec3 here = cornerAt(mesh, face, i) - origin;
        const Vec3 next = cornerAt(mesh, face, i + 1) - origin;
        const double angle = std::atan2(dot(cross(here, next), normal), dot(here, next));
        if (angle < -kAngleTolerance)
            return false;
        opened += angle;
    }
    return opened < 2 * std::numbers::pi;
}

void appendFan(const aiFace& polygon, std::vector<aiFace>& faces)
{
    for (unsigned i = 1; i + 1 < polygon.mNumIndices; ++i) {
        aiFace& triangle = faces.emplace_back();
        triangle.mNumIndices = 3;
        triangle.mIndices = new unsigned[3]{polygon.mIndices[0], polygon.mIndices[i], polygon.mIndices[i + 1]};
    }
}

void take(aiFace& from, aiFace& to)
{
    std::swap(from.mIndices, to.mIndices);
    std::swap(from.mNumIndices, to.mNumIndices);
}

} // namespace

bool LargePolygons::mayBeClipped(unsigned corners)
{
    if (corners <= kAlwaysClippedCorners)
        return true;
    const std::uint64_t work = std::uint64_t{corners} * corners;
    if (corners > kMaxClippedCorners || m_work + work > kMaxClippingWork)
        return false;
    m_work += work;
    return true;
}

void LargePolygons::replace(aiMesh& mesh)
{
    std::vector<unsigned> large;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i)
        if (!mayBeClipped(mesh.mFaces[i].mNumIndices))
            large.push_back(i);
    if (large.empty())
        return;

    std::vector<aiFace> faces;
    auto nextLarge = large.begin();
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        aiFace& face = mesh.mFaces[i];
        if (nextLarge == large.end() || *nextLarge != i) {
            take(face, faces.emplace_back());
            continue;
        }
        ++nextLarge;
        if (isFan(mesh, face))
            appendFan(face, faces);
        else
            ++m_dropped;
    }
    delete[] mesh.mFaces;
    mesh.mNumFaces = static_cast<unsigned>(faces.size());
    mesh.mFaces = faces.empty() ? nullptr : new aiFace[faces.size()];
    mesh.mPrimitiveTypes = faces.empty() ? unsigned{aiPrimitiveType_POINT} : 0U;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        take(faces[i], mesh.mFaces[i]);
        mesh.mPrimitiveTypes |= AI_PRIMITIVE_TYPE_FOR_N_INDICES(mesh.mFaces[i].mNumIndices);
    }
}

} // namespace ov3d::renderer
