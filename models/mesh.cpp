#include "models/mesh.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ov3d::models {

namespace {

/// Right, down and outward directions of a box side.
struct FaceAxes
{
    Vec3 right;
    Vec3 down;
    Vec3 outward;
};

FaceAxes axesOf(BoxFace face)
{
    switch (face) {
    case BoxFace::front:
        return {{1, 0, 0}, {0, -1, 0}, {0, 0, 1}};
    case BoxFace::right:
        return {{0, 0, -1}, {0, -1, 0}, {1, 0, 0}};
    case BoxFace::back:
        return {{-1, 0, 0}, {0, -1, 0}, {0, 0, -1}};
    case BoxFace::left:
        return {{0, 0, 1}, {0, -1, 0}, {-1, 0, 0}};
    case BoxFace::top:
        return {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}};
    case BoxFace::bottom:
        break;
    }
    return {{1, 0, 0}, {0, 0, -1}, {0, -1, 0}};
}

/// Two triangles a cell of a grid of (columns + 1) by (rows + 1) vertices, stored row by row.
void addGridTriangles(Mesh& mesh, int columns, int rows)
{
    const auto stride = static_cast<std::uint32_t>(columns) + 1;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const auto a = static_cast<std::uint32_t>(row) * stride + static_cast<std::uint32_t>(column);
            mesh.indices.insert(mesh.indices.end(), {a, a + stride, a + 1, a + 1, a + stride, a + stride + 1});
        }
    }
}

Vec3 times(Vec3 a, Vec3 b)
{
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}

void rotate(Mesh& mesh, const std::function<Vec3(Vec3)>& turn)
{
    std::ranges::transform(mesh.positions, mesh.positions.begin(), turn);
    std::ranges::transform(mesh.normals, mesh.normals.begin(), turn);
}

/// Positions along a rounded cube's side, -1 to 1: an arc, the flat middle, an arc.
std::vector<double> roundedSteps(double radius, int steps)
{
    std::vector<double> result;
    for (int i = 0; i <= steps; ++i)
        result.push_back(-1 + radius * (1 - std::tan(std::numbers::pi / 4 * (1 - static_cast<double>(i) / steps))));
    const std::size_t half = result.size();
    for (std::size_t i = half; i > 0; --i)
        result.push_back(-result[i - 1]);
    return result;
}

} // namespace

Vec3 cross(Vec3 a, Vec3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vec3 normalized(Vec3 a)
{
    const double length = std::hypot(a.x, a.y, a.z);
    return length > 0 ? a * (1 / length) : Vec3{0, 1, 0};
}

void Mesh::append(const Mesh& other)
{
    const auto offset = static_cast<std::uint32_t>(positions.size());
    positions.insert(positions.end(), other.positions.begin(), other.positions.end());
    normals.insert(normals.end(), other.normals.begin(), other.normals.end());
    uvs.insert(uvs.end(), other.uvs.begin(), other.uvs.end());
    std::ranges::transform(other.indices, std::back_inserter(indices),
                           [offset](std::uint32_t i) { return i + offset; });
}

void Mesh::translate(Vec3 by)
{
    for (Vec3& position : positions)
        position = position + by;
}

void Mesh::rotateX(double radians)
{
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    rotate(*this, [c, s](Vec3 p) { return Vec3{p.x, c * p.y - s * p.z, s * p.y + c * p.z}; });
}

void Mesh::rotateY(double radians)
{
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    rotate(*this, [c, s](Vec3 p) { return Vec3{c * p.x + s * p.z, p.y, c * p.z - s * p.x}; });
}

void Mesh::rotateZ(double radians)
{
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    rotate(*this, [c, s](Vec3 p) { return Vec3{c * p.x - s * p.y, s * p.x + c * p.y, p.z}; });
}

Mesh surface(int columns, int rows, const std::function<Vec3(double, double)>& point)
{
    constexpr double kStep = 1e-4;
    Mesh mesh;
    for (int row = 0; row <= rows; ++row) {
        for (int column = 0; column <= columns; ++column) {
            const double u = static_cast<double>(column) / columns;
            const double v = static_cast<double>(row) / rows;
            // At a pole the direction of u vanishes: the normal a hair's breadth away from the edge stands for it.
            const double nearU = std::clamp(u, 2 * kStep, 1 - 2 * kStep);
            const double nearV = std::clamp(v, 2 * kStep, 1 - 2 * kStep);
            const Vec3 right = point(nearU + kStep, nearV) - point(nearU - kStep, nearV);
            const Vec3 down = point(nearU, nearV + kStep) - point(nearU, nearV - kStep);
            mesh.positions.push_back(point(u, v));
            mesh.normals.push_back(normalized(cross(normalized(down), normalized(right))));
            mesh.uvs.push_back({u, v});
        }
    }
    addGridTriangles(mesh, columns, rows);
    return mesh;
}

Mesh lathe(int segments, int rows, const std::function<Vec2(double)>& profile)
{
    return surface(segments, rows, [&profile](double u, double v) {
        const Vec2 p = profile(v);
        const double angle = 2 * std::numbers::pi * u;
        return Vec3{p.x * std::sin(angle), p.y, p.x * std::cos(angle)};
    });
}

Mesh tube(int segments, int rows, const std::function<Vec3(double)>& curve, const std::function<double(double)>& radius)
{
    return surface(segments, rows, [&](double u, double v) {
        constexpr double kStep = 1e-3;
        const Vec3 along = normalized(curve(v + kStep) - curve(v - kStep));
        const Vec3 side = normalized(cross(along, {0, 0, 1}));
        const Vec3 other = cross(along, side);
        const double angle = 2 * std::numbers::pi * u;
        return curve(v) + side * (radius(v) * std::cos(angle)) - other * (radius(v) * std::sin(angle));
    });
}

std::function<Vec2(double)> spline(std::vector<Vec2> points)
{
    return [points = std::move(points)](double t) {
        const auto last = static_cast<int>(points.size()) - 1;
        const double scaled = std::clamp(t, 0.0, 1.0) * last;
        const int segment = std::min(static_cast<int>(scaled), last - 1);
        const double f = scaled - segment;
        const auto at = [&](int i) { return points[static_cast<std::size_t>(std::clamp(i, 0, last))]; };
        const auto blend = [f](double a, double b, double c, double d) {
            return b + 0.5 * f * (c - a + f * (2 * a - 5 * b + 4 * c - d + f * (3 * (b - c) + d - a)));
        };
        const Vec2 a = at(segment - 1);
        const Vec2 b = at(segment);
        const Vec2 c = at(segment + 1);
        const Vec2 d = at(segment + 2);
        return Vec2{std::max(0.0, blend(a.x, b.x, c.x, d.x)), blend(a.y, b.y, c.y, d.y)};
    };
}

Mesh boxFace(Vec3 size, BoxFace face)
{
    const auto [right, down, outward] = axesOf(face);
    Mesh mesh;
    for (int corner = 0; corner < 4; ++corner) {
        const double u = corner % 2;
        const double v = corner / 2;
        mesh.positions.push_back(times(outward + right * (2 * u - 1) + down * (2 * v - 1), size * 0.5));
        mesh.normals.push_back(outward);
        mesh.uvs.push_back({u, v});
    }
    addGridTriangles(mesh, 1, 1);
    return mesh;
}

Mesh roundedCube(double edge, double radius, int steps)
{
    const double r = 2 * radius / edge;
    const std::vector<double> along = roundedSteps(r, steps);
    const int cells = static_cast<int>(along.size()) - 1;
    Mesh cube;
    for (int face = 0; face < 6; ++face) {
        const auto [right, down, outward] = axesOf(static_cast<BoxFace>(face));
        Mesh side;
        for (const double t : along) {
            for (const double s : along) {
                const Vec3 onCube = outward + right * s + down * t;
                const auto inside = [r](double x) { return std::clamp(x, r - 1, 1 - r); };
                const Vec3 core = {inside(onCube.x), inside(onCube.y), inside(onCube.z)};
                const Vec3 normal = normalized(onCube - core);
                side.positions.push_back((core + normal * r) * (edge / 2));
                side.normals.push_back(normal);
                side.uvs.push_back({(face % 3 + (s + 1) / 2) / 3, (face / 3 + (t + 1) / 2) / 2});
            }
        }
        addGridTriangles(side, cells, cells);
        cube.append(side);
    }
    return cube;
}

} // namespace ov3d::models
