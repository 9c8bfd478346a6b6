#pragma once

/// Triangle meshes built from formulas. +Y is up, +Z is front, triangles are counter-clockwise seen from outside.

#include <cstdint>
#include <functional>
#include <vector>

namespace ov3d::models {

struct Vec2
{
    double x = 0;
    double y = 0;
};

struct Vec3
{
    double x = 0;
    double y = 0;
    double z = 0;

    friend constexpr Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend constexpr Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend constexpr Vec3 operator*(Vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
};

[[nodiscard]] Vec3 cross(Vec3 a, Vec3 b);
[[nodiscard]] Vec3 normalized(Vec3 a);

/// An indexed triangle mesh; the three vertex arrays are equally long. Texture coordinates have their origin at the
/// picture's upper left corner, v downwards.
struct Mesh
{
    std::vector<Vec3> positions;
    std::vector<Vec3> normals;
    std::vector<Vec2> uvs;
    std::vector<std::uint32_t> indices;

    [[nodiscard]] std::size_t triangleCount() const { return indices.size() / 3; }
    void append(const Mesh& other);
    void translate(Vec3 by);
    void rotateX(double radians);
    void rotateY(double radians);
    void rotateZ(double radians);
};

/// Samples a surface over the unit square on a grid of `columns` by `rows` cells, with smooth normals. The outside is
/// the side from which u runs to the right while v runs downwards; (u, v) are the texture coordinates too.
Mesh surface(int columns, int rows, const std::function<Vec3(double u, double v)>& point);

/// Turns a profile (x radius, y height) about the Y axis. `profile` runs with v, its top (or outer end) at v = 0.
Mesh lathe(int segments, int rows, const std::function<Vec2(double v)>& profile);

/// A tube of round cross-section along a curve that never runs parallel to the Z axis; `radius` may vary along it.
Mesh tube(int segments, int rows, const std::function<Vec3(double v)>& curve,
          const std::function<double(double v)>& radius);

/// A smooth curve through points, parameterised over [0, 1].
std::function<Vec2(double)> spline(std::vector<Vec2> points);

enum class BoxFace
{
    front, ///< +Z
    right, ///< +X
    back,
    left,
    top,
    bottom,
};

/// One side of an axis-aligned box about the origin; seen from outside, (0, 0) of the texture is the upper left.
Mesh boxFace(Vec3 size, BoxFace face);

/// A cube about the origin with rounded edges; side `face` takes the cell (face % 3, face / 3) of a texture with three
/// by two cells. `radius` is at most half of the edge.
Mesh roundedCube(double edge, double radius, int steps);

} // namespace ov3d::models
