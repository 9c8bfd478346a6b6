#include "models/textures.h"

#include "models/mesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

namespace ov3d::models {

namespace {

constexpr double kTurn = 2 * std::numbers::pi;

Vec3 mix(Vec3 a, Vec3 b, double share)
{
    const double t = std::clamp(share, 0.0, 1.0);
    return a * (1 - t) + b * t;
}

double smoothStep(double from, double to, double x)
{
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// A repeatable value of 0 to 1 for a lattice point.
double latticeValue(int x, int y)
{
    auto h = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return (h ^ (h >> 15)) / 4294967295.0;
}

/// Smooth noise of 0 to 1; repeats after `period` lattice steps in x.
double noise(double x, double y, int period)
{
    const int column = static_cast<int>(std::floor(x));
    const int row = static_cast<int>(std::floor(y));
    const double fx = smoothStep(0, 1, x - column);
    const double fy = smoothStep(0, 1, y - row);
    const auto at = [&](int dx, int dy) { return latticeValue(((column + dx) % period + period) % period, row + dy); };
    return std::lerp(std::lerp(at(0, 0), at(1, 0), fx), std::lerp(at(0, 1), at(1, 1), fx), fy);
}

/// Evaluates a formula at the centre of every texel; colours 0 to 255.
QImage painted(int width, int height, const std::function<Vec3(double u, double v)>& colour)
{
    QImage image(width, height, QImage::Format_RGB888);
    const auto byte = [](double x) { return static_cast<uchar>(std::clamp(std::lround(x), 0L, 255L)); };
    for (int y = 0; y < height; ++y) {
        uchar* texel = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const Vec3 c = colour((x + 0.5) / width, (y + 0.5) / height);
            *texel++ = byte(c.x);
            *texel++ = byte(c.y);
            *texel++ = byte(c.z);
        }
    }
    return image;
}

} // namespace

QImage quartersTexture(int size)
{
    return painted(size, size, [](double u, double v) {
        if (v < 0.5)
            return u < 0.5 ? Vec3{220, 40, 40} : Vec3{40, 80, 220};
        return u < 0.5 ? Vec3{240, 200, 40} : Vec3{245, 245, 245};
    });
}

QImage woodTexture(int size)
{
    return painted(size, size, [](double u, double v) {
        // A plank sawn lengthwise: the rings are long, slightly bent lines.
        const double bend = 0.06 * std::sin(kTurn * 0.6 * u + 0.5) + 0.05 * noise(3 * u, 4 * v, 64);
        const double ring = (v + bend) * 13;
        const double line = std::pow(ring - std::floor(ring), 3);
        const double fibre = noise(14 * u, 190 * v, 1024);
        const Vec3 base = mix({212, 164, 112}, {166, 112, 66}, 0.75 * line);
        return base * (0.90 + 0.14 * fibre);
    });
}

QImage glazeTexture(int width, int height)
{
    return painted(width, height, [](double u, double v) {
        const Vec3 cobalt = mix({28, 62, 140}, {44, 92, 176}, noise(24 * u, 20 * v, 24));
        const Vec3 cream = {240, 230, 208};
        const auto band = [v](double centre, double half) {
            return 1 - smoothStep(half - 0.004, half + 0.004, std::abs(v - centre));
        };
        const double wave = 0.735 + 0.013 * std::sin(kTurn * 12 * u);
        // On the vase's shoulder a whole turn is about 2 units wide, and v spans 6 units of height.
        const double across = (u * 14 - std::floor(u * 14) - 0.5) / 14 * 2.0;
        const double dot = 1 - smoothStep(0.046, 0.052, std::hypot(across, 6 * (v - 0.668)));
        return mix(cobalt, cream, std::max({band(0.60, 0.010), band(wave, 0.013), band(0.80, 0.007), dot}));
    });
}

QImage appleTexture(int width, int height)
{
    return painted(width, height, [](double u, double v) {
        const double streak = noise(90 * u, 3 * v, 90);
        const Vec3 red = mix({176, 22, 30}, {206, 44, 40}, streak);
        const double shoulder = 1 - smoothStep(0.02, 0.20 + 0.14 * noise(18 * u, 1, 18), v);
        const double base = smoothStep(0.90, 1.0, v);
        return mix(red, {222, 178, 74}, std::max(0.9 * shoulder, 0.6 * base));
    });
}

QImage pearTexture(int width, int height)
{
    return painted(width, height, [](double u, double v) {
        const Vec3 gold = mix({206, 172, 62}, {222, 192, 88}, noise(10 * u, 8 * v, 10));
        const double blush = smoothStep(0.25, 0.9, 0.5 + 0.5 * std::cos(kTurn * (u - 0.82))) * smoothStep(0.3, 0.6, v);
        const double speckle = smoothStep(0.80, 0.90, noise(80 * u, 90 * v, 80));
        return mix(mix(gold, {196, 84, 44}, 0.75 * blush), {140, 96, 44}, 0.45 * speckle);
    });
}

QImage dieTexture(int cell)
{
    using Pips = std::vector<Vec2>;
    static const std::array<Pips, 6> sides = {
        Pips{{0, 0}},
        Pips{{-1, -1}, {1, -1}, {-1, 1}, {1, 1}},
        Pips{{-1, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {1, 1}},
        Pips{{-1, -1}, {0, 0}, {1, 1}},
        Pips{{-1, -1}, {1, 1}},
        Pips{{-1, -1}, {1, -1}, {0, 0}, {-1, 1}, {1, 1}},
    };
    return painted(3 * cell, 2 * cell, [](double u, double v) {
        const int column = std::min(2, static_cast<int>(u * 3));
        const int row = std::min(1, static_cast<int>(v * 2));
        const double x = u * 3 - column - 0.5;
        const double y = v * 2 - row - 0.5;
        double pip = 0;
        for (const Vec2 centre : sides[static_cast<std::size_t>(row * 3 + column)]) {
            const double distance = std::hypot(x - 0.24 * centre.x, y - 0.24 * centre.y);
            pip = std::max(pip, 1 - smoothStep(0.085, 0.100, distance));
        }
        return mix({242, 236, 222}, {34, 32, 40}, pip);
    });
}

} // namespace ov3d::models
