#include "viewer/renderer/environment/skies.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace ov3d::renderer {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;

float dot(Direction a, Direction b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr Light grey(float value)
{
    return {value, value, value};
}

// ---- building blocks ---------------------------------------------------------------------------------------------

/// A rectangular lamp: its centre's direction, the axes that span it (unit vectors, at right angles to it), and the
/// tangents of its half angles. 1 inside, 0 outside, soft edges of `edge` tangents.
float panel(Direction from, Direction centre, Direction across, float halfWidth, float halfHeight, float edge)
{
    const float ahead = dot(from, centre);
    if (ahead <= 0.05f)
        return 0;
    const Direction along{centre.y * across.z - centre.z * across.y, centre.z * across.x - centre.x * across.z,
                          centre.x * across.y - centre.y * across.x};
    const float u = std::abs(dot(from, across)) / ahead;
    const float v = std::abs(dot(from, along)) / ahead;
    return (1 - ramp(halfWidth - edge, halfWidth + edge, u)) * (1 - ramp(halfHeight - edge, halfHeight + edge, v));
}

std::uint32_t scrambled(std::uint32_t n)
{
    n = (n ^ (n >> 16)) * 0x7feb352dU;
    n = (n ^ (n >> 15)) * 0x846ca68bU;
    return n ^ (n >> 16);
}

/// The same number from 0 to 1 for the same cell of a plane's grid, always.
float cellNoise(int x, int y)
{
    const auto n = static_cast<std::uint32_t>(x) * 0x9e3779b1U + static_cast<std::uint32_t>(y) * 0x85ebca77U;
    return static_cast<float>(scrambled(n) >> 8) * (1.0f / 16777216.0f);
}

float smoothNoise(float x, float y)
{
    const float floorX = std::floor(x);
    const float floorY = std::floor(y);
    const int cellX = static_cast<int>(floorX);
    const int cellY = static_cast<int>(floorY);
    const float u = ramp(0, 1, x - floorX);
    const float v = ramp(0, 1, y - floorY);
    const float below = std::lerp(cellNoise(cellX, cellY), cellNoise(cellX + 1, cellY), u);
    const float above = std::lerp(cellNoise(cellX, cellY + 1), cellNoise(cellX + 1, cellY + 1), u);
    return std::lerp(below, above, v);
}

float cloudiness(float x, float y)
{
    return 0.55f * smoothNoise(x, y) + 0.3f * smoothNoise(2.1f * x + 7, 2.1f * y) +
           0.15f * smoothNoise(4.3f * x, 4.3f * y + 3);
}

// ---- environments ------------------------------------------------------------------------------------------------

Light softBox(Direction d)
{
    const Light walls = mix(grey(0.52f), grey(0.70f), ramp(-0.2f, 0.6f, d.y));
    const Light room = mix(grey(0.40f), walls, ramp(-0.22f, -0.12f, d.y));
    const float lamp = panel(d, {0, 1, 0}, {1, 0, 0}, 0.75f, 0.75f, 0.06f);
    const float cross = std::min(std::abs(d.x), std::abs(d.z)) / std::max(d.y, 0.1f);
    return mix(room, grey(1.9f - 0.35f * (1 - ramp(0.0f, 0.03f, cross))), lamp);
}

Light studio(Direction d)
{
    const float up = d.y;
    const Light backdrop = mix(grey(0.36f), grey(0.20f), ramp(-0.05f, 0.9f, up));
    Light room = mix(grey(0.30f), backdrop, ramp(-0.16f, 0.02f, up));
    // Key at the left front, fill at the right, strips behind on both sides, a panel above.
    const float key = panel(d, {-0.62f, 0.48f, 0.6205f}, {0.7071f, 0, 0.7066f}, 0.55f, 0.62f, 0.05f);
    const float fill = panel(d, {0.90f, 0.20f, 0.3873f}, {-0.3953f, 0, 0.9186f}, 0.30f, 0.75f, 0.05f);
    const float right = panel(d, {0.13f, 0.26f, -0.9568f}, {0.9909f, 0, 0.1346f}, 0.09f, 0.42f, 0.012f);
    const float left = panel(d, {-0.87f, 0.26f, -0.4190f}, {0.4339f, 0, -0.9010f}, 0.09f, 0.42f, 0.012f);
    const float top = panel(d, {0, 1, 0}, {1, 0, 0}, 0.60f, 0.60f, 0.08f);
    room = mix(room, grey(2.9f), key);
    room = mix(room, grey(1.15f), fill);
    room = mix(room, grey(2.6f), std::max(left, right));
    return mix(room, grey(1.7f), top);
}

Light brightDay(Direction d)
{
    constexpr Direction sun{0.55f, 0.62f, 0.5591f};
    if (d.y < 0) {
        const float far = ramp(0.0f, 0.35f, -d.y);
        const float scale = 1.6f / (-d.y + 0.06f);
        const float tufts = smoothNoise(d.x * scale, d.z * scale);
        const Light meadow = mix(Light{0.13f, 0.19f, 0.06f}, Light{0.22f, 0.27f, 0.10f}, tufts);
        return mix(Light{0.48f, 0.55f, 0.52f}, meadow, far);
    }
    Light sky = mix(Light{0.74f, 0.86f, 1.0f}, Light{0.16f, 0.34f, 0.78f}, ramp(0.0f, 0.75f, std::sqrt(d.y)));
    const float plane = 1.5f / (d.y + 0.14f);
    const float clouds = ramp(0.50f, 0.74f, cloudiness(d.x * plane, d.z * plane + 11)) * ramp(0.03f, 0.18f, d.y);
    sky = mix(sky, grey(1.15f), 0.9f * clouds);
    const float toSun = std::max(dot(d, sun), 0.0f);
    const float glow = std::pow(toSun, 24.0f);
    return sky + Light{1.0f, 0.93f, 0.80f} * (0.5f * glow + 9.0f * ramp(0.9985f, 0.9995f, toSun));
}

Light sunset(Direction d)
{
    constexpr Direction sun{-0.5547f, 0.055f, -0.8302f};
    const float toSun = std::max(dot(d, sun), 0.0f);
    const float level = std::sqrt(d.x * d.x + d.z * d.z);
    const float side = 0.5f + 0.5f * (d.x * sun.x + d.z * sun.z) / std::max(level, 0.05f);
    const float height = std::abs(d.y);
    const Light low = mix(Light{0.42f, 0.24f, 0.34f}, Light{1.45f, 0.50f, 0.13f}, side * side);
    const Light middle = mix(Light{0.24f, 0.17f, 0.34f}, Light{0.78f, 0.30f, 0.26f}, side);
    Light sky = mix(low, middle, ramp(0.0f, 0.30f, height));
    sky = mix(sky, Light{0.09f, 0.10f, 0.26f}, ramp(0.15f, 0.85f, height));
    const float streak = cloudiness(d.x * 3 / (height + 0.2f), d.z * 3 / (height + 0.2f) + height * 30);
    sky = mix(sky, sky * Light{1.5f, 1.1f, 0.95f}, ramp(0.5f, 0.75f, streak) * ramp(0.02f, 0.1f, height));
    if (d.y < 0) {
        const float sparkle = ramp(0.55f, 0.9f, smoothNoise(d.x * 40 / (height + 0.05f), d.z * 40 / (height + 0.05f)));
        const Light path = Light{1.6f, 0.62f, 0.16f} * (0.5f * std::pow(side, 60.0f) * (0.4f + 0.6f * sparkle));
        return sky * Light{0.40f, 0.42f, 0.50f} * (1 - 0.6f * ramp(0.0f, 0.6f, height)) + path;
    }
    return sky + Light{1.0f, 0.52f, 0.18f} * (1.1f * std::pow(toSun, 18.0f) + 14.0f * ramp(0.9970f, 0.9982f, toSun));
}

/// What a ray from the middle of a box-shaped room meets: walls at x = +-2, z = +-2.6, floor and ceiling at y = +-1.
Light hall(Direction d)
{
    const float tx = 2.0f / std::max(std::abs(d.x), 1e-4f);
    const float ty = 1.0f / std::max(std::abs(d.y), 1e-4f);
    const float tz = 2.6f / std::max(std::abs(d.z), 1e-4f);
    const float t = std::min({tx, ty, tz});
    const float x = d.x * t;
    const float y = d.y * t;
    const float z = d.z * t;
    if (ty <= tx && ty <= tz) {
        if (d.y > 0) {
            const float lamp = 1 - ramp(0.30f, 0.34f, std::hypot(x, std::remainder(z, 1.7f)));
            return mix(Light{0.52f, 0.48f, 0.42f}, Light{4.2f, 3.7f, 2.9f}, lamp);
        }
        const float board = std::floor(x * 3);
        const float tone = 0.8f + 0.4f * cellNoise(static_cast<int>(board), static_cast<int>(std::floor(z + board)));
        const float gap = ramp(0.0f, 0.05f, std::abs(x * 3 - board)) * ramp(0.0f, 0.05f, std::abs(x * 3 - board - 1));
        const Light daylight = Light{0.34f, 0.37f, 0.42f} * (1 - ramp(0.0f, 1.8f, x + 2));
        return Light{0.30f, 0.17f, 0.085f} * (tone * (0.55f + 0.45f * gap)) + daylight;
    }
    const bool isWindowSide = tx < tz && d.x < 0;
    const Light wall = mix(Light{0.34f, 0.29f, 0.24f}, Light{0.52f, 0.47f, 0.40f}, ramp(-0.9f, 0.8f, y));
    const Light skirting = y < -0.86f ? wall * 0.45f : wall;
    if (!isWindowSide)
        return skirting * (tx < tz ? 1.0f : 0.8f);
    const float u = std::remainder(z, 1.3f);
    const float window = (1 - ramp(0.40f, 0.42f, std::abs(u))) * (1 - ramp(0.56f, 0.58f, std::abs(y - 0.15f)));
    const float bars = ramp(0.02f, 0.03f, std::abs(u)) * ramp(0.02f, 0.03f, std::abs(y - 0.3f));
    return mix(skirting, Light{3.0f, 3.3f, 3.8f} * (0.2f + 0.8f * bars), window);
}

Light night(Direction d)
{
    constexpr Direction moon{0.45f, 0.36f, -0.8175f};
    const float azimuth = std::atan2(d.x, d.z);
    if (d.y < 0.0f) {
        // Far lights of a town: small warm points, dense below the horizon, gone at the feet.
        const float row = std::floor(-d.y * 44);
        const float column = std::floor(azimuth * 40);
        const float chance = cellNoise(static_cast<int>(column), static_cast<int>(row));
        const float u = azimuth * 40 - column - 0.5f;
        const float v = -d.y * 44 - row - 0.5f;
        const float point = (1 - ramp(0.05f, 0.30f, u * u + v * v)) * ramp(0.86f, 0.99f, chance);
        const Light lamp = mix(Light{3.4f, 1.9f, 0.7f}, Light{2.2f, 2.3f, 2.6f}, ramp(0.95f, 0.97f, chance));
        const float near = 1 - ramp(0.05f, 0.45f, -d.y);
        return Light{0.012f, 0.014f, 0.022f} + lamp * (point * near) + Light{0.10f, 0.06f, 0.03f} * near;
    }
    const float haze = 1 - ramp(0.0f, 0.35f, d.y);
    Light sky = mix(Light{0.012f, 0.022f, 0.060f}, Light{0.085f, 0.075f, 0.105f}, haze * haze);
    const int column = static_cast<int>(std::floor(azimuth * 90 / kPi));
    const int row = static_cast<int>(std::floor(d.y * 90));
    const float chance = cellNoise(column + 1000, row);
    const float u = azimuth * 90 / kPi - static_cast<float>(column) - 0.5f;
    const float v = d.y * 90 - static_cast<float>(row) - 0.5f;
    const float star = (1 - ramp(0.005f, 0.05f, u * u + v * v)) * ramp(0.93f, 1.0f, chance);
    sky = sky + grey(1.6f * star * (1 - haze));
    const float toMoon = std::max(dot(d, moon), 0.0f);
    return sky + Light{0.75f, 0.85f, 1.0f} * (0.10f * std::pow(toMoon, 40.0f) + 7.0f * ramp(0.9965f, 0.9975f, toMoon));
}

} // namespace

Sky skyOf(std::int32_t mapType)
{
    return mapType >= 0 && mapType < kSkyCount ? static_cast<Sky>(mapType) : Sky::studio;
}

Light radianceOf(Sky sky, Direction from)
{
    switch (sky) {
    case Sky::soft_box:
        return softBox(from);
    case Sky::bright_day:
        return brightDay(from);
    case Sky::studio:
        return studio(from);
    case Sky::sunset:
        return sunset(from);
    case Sky::hall:
        return hall(from);
    case Sky::night:
        return night(from);
    }
    return studio(from);
}

Light evenRadiance(Direction from)
{
    return mix(grey(0.40f), grey(0.62f), 0.5f + 0.5f * from.y);
}

} // namespace ov3d::renderer
