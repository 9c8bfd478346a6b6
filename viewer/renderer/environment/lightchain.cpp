#include "viewer/renderer/environment/lightchain.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace ov3d::renderer {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr int kFaces = 6;

/// Brightest component of a reflection: a sun that shows in a mirror, without sparks in blurred ones.
constexpr float kBrightest = 24.0f;

/// Samples a direction by level; the sharpest level takes one.
constexpr std::array<int, kChainLevels> kSamples{1, 12, 24, 40, 64};

Direction normalised(Direction d)
{
    const float scale = 1.0f / std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    return {d.x * scale, d.y * scale, d.z * scale};
}

/// The direction of a point of a face, both coordinates from -1 to 1, as OpenGL lays cube maps out; not normalised.
Direction directionOf(int face, float s, float t)
{
    switch (face) {
    case 0:
        return {1, -t, -s};
    case 1:
        return {-1, -t, s};
    case 2:
        return {s, 1, t};
    case 3:
        return {s, -1, -t};
    case 4:
        return {s, -t, 1};
    default:
        return {-s, -t, -1};
    }
}

Direction texelDirection(int face, int x, int y, int side)
{
    const float scale = 2.0f / static_cast<float>(side);
    return normalised(directionOf(face, (static_cast<float>(x) + 0.5f) * scale - 1.0f,
                                  (static_cast<float>(y) + 0.5f) * scale - 1.0f));
}

struct Cube
{
    int side = 0;
    std::vector<Light> texels;

    explicit Cube(int sideLength)
        : side(sideLength)
        , texels(static_cast<std::size_t>(kFaces) * static_cast<std::size_t>(side) * static_cast<std::size_t>(side))
    {
    }

    [[nodiscard]] std::size_t index(int face, int x, int y) const
    {
        return (static_cast<std::size_t>(face) * static_cast<std::size_t>(side) + static_cast<std::size_t>(y)) *
                   static_cast<std::size_t>(side) +
               static_cast<std::size_t>(x);
    }

    /// Between texels, linearly; does not look across a face's border.
    [[nodiscard]] Light at(Direction d) const
    {
        const float ax = std::abs(d.x);
        const float ay = std::abs(d.y);
        const float az = std::abs(d.z);
        int face = 0;
        float s = 0;
        float t = 0;
        float major = ax;
        if (ax >= ay && ax >= az) {
            face = d.x > 0 ? 0 : 1;
            s = d.x > 0 ? -d.z : d.z;
            t = -d.y;
        } else if (ay >= az) {
            face = d.y > 0 ? 2 : 3;
            s = d.x;
            t = d.y > 0 ? d.z : -d.z;
            major = ay;
        } else {
            face = d.z > 0 ? 4 : 5;
            s = d.z > 0 ? d.x : -d.x;
            t = -d.y;
            major = az;
        }
        const float last = static_cast<float>(side - 1);
        const float half = static_cast<float>(side) * 0.5f;
        const float x = std::clamp((s / major + 1) * half - 0.5f, 0.0f, last);
        const float y = std::clamp((t / major + 1) * half - 0.5f, 0.0f, last);
        const int x0 = static_cast<int>(x);
        const int y0 = static_cast<int>(y);
        const int x1 = std::min(x0 + 1, side - 1);
        const int y1 = std::min(y0 + 1, side - 1);
        const float right = x - static_cast<float>(x0);
        return mix(mix(texels[index(face, x0, y0)], texels[index(face, x1, y0)], right),
                   mix(texels[index(face, x0, y1)], texels[index(face, x1, y1)], right), y - static_cast<float>(y0));
    }
};

template <typename Value> Cube cubeOf(int side, Value value)
{
    Cube cube(side);
    for (int face = 0; face < kFaces; ++face)
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                cube.texels[cube.index(face, x, y)] = value(texelDirection(face, x, y, side));
    return cube;
}

Light clamped(Light light)
{
    // The comparison also drops what is no number.
    const auto bound = [](float value) { return value > 0 ? std::min(value, kBrightest) : 0.0f; };
    return {bound(light.red), bound(light.green), bound(light.blue)};
}

Cube halved(const Cube& cube)
{
    Cube half(cube.side / 2);
    for (int face = 0; face < kFaces; ++face)
        for (int y = 0; y < half.side; ++y)
            for (int x = 0; x < half.side; ++x)
                half.texels[half.index(face, x, y)] =
                    (cube.texels[cube.index(face, 2 * x, 2 * y)] + cube.texels[cube.index(face, 2 * x + 1, 2 * y)] +
                     cube.texels[cube.index(face, 2 * x, 2 * y + 1)] +
                     cube.texels[cube.index(face, 2 * x + 1, 2 * y + 1)]) *
                    0.25f;
    return half;
}

float radicalInverse(std::uint32_t bits)
{
    std::uint32_t reversed = 0;
    for (int i = 0; i < 32; ++i)
        reversed |= ((bits >> i) & 1U) << (31 - i);
    return static_cast<float>(reversed) * 2.3283064365386963e-10f;
}

/// A direction about +Z with what it counts and the blurriness that it is looked up with.
struct Sample
{
    Direction direction;
    float weight = 0;
    std::size_t level = 0;
};

/// Directions from which a surface of that roughness reflects light to a viewer right above it (GGX), each looked up in
/// the level whose texels are about as large as the part of the sphere that the sample stands for.
std::vector<Sample> samplesOf(float roughness, int count, std::size_t levels)
{
    const float alpha = roughness * roughness;
    const float texelAngle = 4 * kPi / (6.0f * kChainSide * kChainSide);
    std::vector<Sample> samples;
    for (int i = 0; i < count; ++i) {
        const float phi = 2 * kPi * (static_cast<float>(i) + 0.5f) / static_cast<float>(count);
        const float random = radicalInverse(static_cast<std::uint32_t>(i)) + 0.5f / static_cast<float>(count);
        const float cosine = std::sqrt((1 - random) / (1 + (alpha * alpha - 1) * random));
        const float sine = std::sqrt(std::max(1 - cosine * cosine, 0.0f));
        const float up = 2 * cosine * cosine - 1;
        if (up <= 0)
            continue;
        const float d = cosine * cosine * (alpha * alpha - 1) + 1;
        const float density = alpha * alpha / (kPi * d * d) / 4;
        const float angle = 1 / (static_cast<float>(count) * density);
        const float level = std::max(0.5f * std::log2(angle / texelAngle) + 1, 0.0f);
        samples.push_back({{2 * cosine * sine * std::cos(phi), 2 * cosine * sine * std::sin(phi), up},
                           up,
                           std::min(static_cast<std::size_t>(level), levels - 1)});
    }
    return samples;
}

Cube blurred(const std::vector<Cube>& pyramid, int side, float roughness, int count)
{
    const std::vector<Sample> samples = samplesOf(roughness, count, pyramid.size());
    return cubeOf(side, [&](Direction n) {
        const Direction helper = std::abs(n.z) < 0.999f ? Direction{0, 0, 1} : Direction{1, 0, 0};
        const Direction u = normalised(
            {helper.y * n.z - helper.z * n.y, helper.z * n.x - helper.x * n.z, helper.x * n.y - helper.y * n.x});
        const Direction v{n.y * u.z - n.z * u.y, n.z * u.x - n.x * u.z, n.x * u.y - n.y * u.x};
        Light sum;
        float weights = 0;
        for (const Sample& sample : samples) {
            const Direction& s = sample.direction;
            const Direction d{u.x * s.x + v.x * s.y + n.x * s.z, u.y * s.x + v.y * s.y + n.y * s.z,
                              u.z * s.x + v.z * s.y + n.z * s.z};
            sum = sum + pyramid[sample.level].at(d) * sample.weight;
            weights += sample.weight;
        }
        return sum * (1 / weights);
    });
}

/// The polynomials of Irradiance.
std::array<float, 9> polynomials(Direction n)
{
    return {1, n.y, n.z, n.x, n.x * n.y, n.y * n.z, 3 * n.z * n.z - 1, n.x * n.z, n.x * n.x - n.y * n.y};
}

Irradiance irradianceOf(const Cube& cube)
{
    // Squares of the spherical harmonics' factors, and what a cosine lobe leaves of each band (over pi).
    constexpr std::array<float, 9> squares{0.0795775f, 0.2387324f, 0.2387324f, 0.2387324f, 1.1936621f,
                                           1.1936621f, 0.0994718f, 1.1936621f, 0.2984155f};
    constexpr std::array<float, 9> bands{1, 2.0f / 3, 2.0f / 3, 2.0f / 3, 0.25f, 0.25f, 0.25f, 0.25f, 0.25f};
    Irradiance irradiance{};
    float angles = 0;
    for (int face = 0; face < kFaces; ++face)
        for (int y = 0; y < cube.side; ++y)
            for (int x = 0; x < cube.side; ++x) {
                const float scale = 2.0f / static_cast<float>(cube.side);
                const float s = (static_cast<float>(x) + 0.5f) * scale - 1;
                const float t = (static_cast<float>(y) + 0.5f) * scale - 1;
                const float angle = scale * scale / std::pow(1 + s * s + t * t, 1.5f);
                const std::array<float, 9> values = polynomials(texelDirection(face, x, y, cube.side));
                const Light light = cube.texels[cube.index(face, x, y)] * angle;
                for (std::size_t i = 0; i < values.size(); ++i)
                    irradiance[i] = irradiance[i] + light * values[i];
                angles += angle;
            }
    for (std::size_t i = 0; i < irradiance.size(); ++i)
        irradiance[i] = irradiance[i] * (squares[i] * bands[i] * 4 * kPi / angles);
    return irradiance;
}

std::vector<float> floatsOf(const Cube& cube)
{
    std::vector<float> floats;
    floats.reserve(cube.texels.size() * 3);
    for (const Light& texel : cube.texels)
        floats.insert(floats.end(), {texel.red, texel.green, texel.blue});
    return floats;
}

} // namespace

Light valueOf(const Irradiance& irradiance, Direction normal)
{
    const std::array<float, 9> values = polynomials(normal);
    Light sum;
    for (std::size_t i = 0; i < values.size(); ++i)
        sum = sum + irradiance[i] * values[i];
    return {std::max(sum.red, 0.0f), std::max(sum.green, 0.0f), std::max(sum.blue, 0.0f)};
}

LightChain makeLightChain(const Radiance& radiance)
{
    std::vector<Cube> pyramid;
    pyramid.push_back(cubeOf(kChainSide, [&radiance](Direction d) { return clamped(radiance(d)); }));
    while (pyramid.back().side > 4)
        pyramid.push_back(halved(pyramid.back()));

    LightChain chain;
    chain.irradiance = irradianceOf(pyramid[3]);
    chain.reflections[0] = floatsOf(pyramid[0]);
    for (std::size_t level = 1; level < chain.reflections.size(); ++level) {
        const float roughness = static_cast<float>(level) / (kChainLevels - 1);
        chain.reflections[level] = floatsOf(blurred(pyramid, kChainSide >> level, roughness, kSamples[level]));
    }
    return chain;
}

} // namespace ov3d::renderer
