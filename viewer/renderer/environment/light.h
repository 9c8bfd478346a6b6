#pragma once

#include <algorithm>

namespace ov3d::renderer {

/// Linear light of three colours: radiance, irradiance or a share of it. 1 is what a white surface sends back under the
/// neutral light.
struct Light
{
    float red = 0;
    float green = 0;
    float blue = 0;

    friend constexpr Light operator+(Light a, Light b) { return {a.red + b.red, a.green + b.green, a.blue + b.blue}; }
    friend constexpr Light operator-(Light a, Light b) { return {a.red - b.red, a.green - b.green, a.blue - b.blue}; }
    friend constexpr Light operator*(Light a, float s) { return {a.red * s, a.green * s, a.blue * s}; }
    friend constexpr Light operator*(Light a, Light b) { return {a.red * b.red, a.green * b.green, a.blue * b.blue}; }
    friend bool operator==(const Light&, const Light&) = default;
};

[[nodiscard]] constexpr Light mix(Light a, Light b, float share)
{
    return a + (b - a) * share;
}

[[nodiscard]] constexpr float luminance(Light a)
{
    return 0.2126f * a.red + 0.7152f * a.green + 0.0722f * a.blue;
}

[[nodiscard]] constexpr float brightest(Light a)
{
    return std::max({a.red, a.green, a.blue});
}

/// 0 below `from`, 1 above `to`, smooth between. `from` is the smaller one.
[[nodiscard]] constexpr float ramp(float from, float to, float value)
{
    const float t = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

} // namespace ov3d::renderer
