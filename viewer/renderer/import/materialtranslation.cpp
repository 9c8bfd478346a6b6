#include "viewer/renderer/import/materialtranslation.h"

#include <algorithm>
#include <cmath>

namespace ov3d::renderer {
namespace {

/// What a dielectric reflects of light that arrives straight on.
constexpr float kDielectric = 0.04f;
constexpr float kRounding = 1e-3f;

/// Roughness of what has no highlight, and the smoothest that a Phong exponent stands for: nobody who wrote one meant
/// a mirror, and a highlight without an environment is all that such a mirror would show.
constexpr float kDull = 0.9f;
constexpr float kShiny = 0.22f;

float clamped(float value)
{
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
}

float brightness(const Colour& c)
{
    return std::sqrt(0.299f * c[0] * c[0] + 0.587f * c[1] * c[1] + 0.114f * c[2] * c[2]);
}

/// How metallic a surface is whose brightnesses are these: the root of base(m) = diffuse seen from both sides.
float metallicOf(float diffuse, float specular, float notReflected)
{
    // With nothing scattered, as much as a dielectric reflects could be either: then it is one.
    if (specular < kDielectric + kRounding)
        return 0.0f;
    const float b = diffuse * notReflected / (1.0f - kDielectric) + specular - 2.0f * kDielectric;
    const float c = kDielectric - specular;
    const float root = std::max(b * b - 4.0f * kDielectric * c, 0.0f);
    return std::clamp((std::sqrt(root) - b) / (2.0f * kDielectric), 0.0f, 1.0f);
}

} // namespace

float displayedFromLinear(float linear)
{
    const float value = clamped(linear);
    return value <= 0.0031308f ? value * 12.92f : 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f;
}

float linearFromDisplayed(float displayed)
{
    const float value = clamped(displayed);
    return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

float roughnessFromPhong(float shininess, float strength)
{
    const float exponent = std::isfinite(shininess) ? std::clamp(shininess, 0.0f, 10000.0f) : 0.0f;
    const float sharp = std::sqrt(std::sqrt(2.0f / (exponent + 2.0f)));
    // Full effect from a fifth of white on: most files state the highlight's colour carelessly.
    const float weight = std::min(clamped(strength) * 5.0f, 1.0f);
    return std::clamp(kDull + (sharp - kDull) * weight, kShiny, kDull);
}

MetallicRoughness fromSpecularGlossiness(const Colour& diffuse, const Colour& specular)
{
    const float strongest = std::max({specular[0], specular[1], specular[2]});
    MetallicRoughness out;
    out.metallic = metallicOf(brightness(diffuse), brightness(specular), 1.0f - strongest);
    const float scattering = (1.0f - strongest) / ((1.0f - kDielectric) * std::max(1.0f - out.metallic, 1e-4f));
    for (std::size_t i = 0; i < 3; ++i) {
        const float ofDielectric = diffuse[i] * scattering;
        const float ofMetal = (specular[i] - kDielectric * (1.0f - out.metallic)) / std::max(out.metallic, 1e-4f);
        const float share = out.metallic * out.metallic;
        out.base[i] = clamped(ofDielectric + (ofMetal - ofDielectric) * share);
    }
    return out;
}

} // namespace ov3d::renderer
