#pragma once

#include <cstdint>

struct aiMesh;

namespace ov3d::renderer {

/// Up to this many corners Assimp cuts a polygon into triangles; its time grows with their square (0.3 s for 4,000).
inline constexpr unsigned kMaxClippedCorners = 4096;
/// Bound of the sum of those squares over a model: some seconds. Polygons of a few corners do not count.
inline constexpr std::uint64_t kMaxClippingWork = 150'000'000;
inline constexpr unsigned kAlwaysClippedCorners = 64;

/// Takes the polygons away from Assimp that would keep it busy for minutes: convex ones become fans of triangles, most
/// others are dropped.
class LargePolygons
{
public:
    /// Indices must be in range and positions finite.
    void replace(aiMesh& mesh);

    /// How many were dropped.
    [[nodiscard]] std::uint64_t dropped() const { return m_dropped; }

private:
    bool mayBeClipped(unsigned corners);

    std::uint64_t m_work = 0;
    std::uint64_t m_dropped = 0;
};

} // namespace ov3d::renderer
