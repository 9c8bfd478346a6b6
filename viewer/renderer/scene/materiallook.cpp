#include "viewer/renderer/scene/materiallook.h"

#include <algorithm>
#include <cmath>

namespace ov3d::renderer {
namespace {

enum Preset
{
    brass,
    chrome,
    plastic,
    glass = kGlassPreset,
    stone,
    rubber,
    fromFile,
};

enum ShadingSetting
{
    asInFile,
    unlit,
    normals,
    depth,
    clay,
};

constexpr Colour kBrass{0.93f, 0.77f, 0.43f};
constexpr Colour kChrome{0.86f, 0.87f, 0.88f};
constexpr Colour kStone{0.66f, 0.65f, 0.62f};
constexpr Colour kClay{0.80f, 0.69f, 0.60f};
constexpr float kGlassOpacity = 0.45f;
constexpr float kRubberShade = 0.34f;

constexpr int kDefaultPointSize = 3;
constexpr int kMaxPointSize = 64;
constexpr float kMostEnlarged = 4.0f;

/// So many points along one side of a picture are dense.
constexpr float kDenseSide = 320.0f;

Colour settingsColour(const protocol::RenderSettings& settings)
{
    Colour colour{};
    for (std::size_t i = 0; i < 3; ++i)
        // The comparison is also false for what is no number.
        colour[i] = settings.material_color[i] > 0.0f ? std::min(settings.material_color[i], 1.0f) : 0.0f;
    return colour;
}

MaterialLook fileLook(const MaterialData& material)
{
    MaterialLook look;
    std::copy_n(material.base_colour, 3, look.colour.begin());
    std::copy_n(material.emissive, 3, look.emissive.begin());
    look.opacity = material.alpha_mode == AlphaMode::opaque ? 1.0f : material.base_colour[3];
    look.metallic = material.metallic;
    look.roughness = material.roughness;
    look.clear_coat = material.clear_coat;
    look.clear_coat_roughness = material.clear_coat_roughness;
    look.file_texture = look.file_colours = look.file_maps = look.file_alpha = true;
    if (material.unlit)
        look.shading = Shading::flat;
    return look;
}

/// A surface of one substance: the file's colours, maps and translucency are gone.
MaterialLook plainLook(const Colour& colour, float metallic, float roughness)
{
    MaterialLook look;
    look.colour = colour;
    look.metallic = metallic;
    look.roughness = roughness;
    return look;
}

MaterialLook presetLook(int preset, const protocol::RenderSettings& settings)
{
    const Colour own = settingsColour(settings);
    MaterialLook look;
    switch (preset) {
    case brass:
        return plainLook(kBrass, 1.0f, 0.24f);
    case chrome:
        return plainLook(kChrome, 1.0f, 0.06f);
    case plastic:
        return plainLook(own, 0.0f, 0.30f);
    case glass:
        look = plainLook(own, 0.0f, 0.06f);
        look.opacity = kGlassOpacity;
        look.glass = true;
        return look;
    case stone:
        look = plainLook(kStone, 0.0f, 0.85f);
        look.stone = true;
        return look;
    default:
        return plainLook({own[0] * kRubberShade, own[1] * kRubberShade, own[2] * kRubberShade}, 0.0f, 0.68f);
    }
}

} // namespace

MaterialLook lookOf(const MaterialData& material, Primitive primitive, const protocol::RenderSettings& settings)
{
    const bool surface = primitive == Primitive::triangles;
    if (settings.raw_mode) {
        MaterialLook look = fileLook(material);
        look.shading = Shading::flat;
        look.file_maps = false;
        look.emissive = {};
        look.smooth_texels = false;
        return look;
    }
    const int preset = settings.material_type_b;
    MaterialLook look = preset >= brass && preset < fromFile ? presetLook(preset, settings) : fileLook(material);
    switch (settings.material_type_a) {
    case unlit:
        look.shading = Shading::flat;
        break;
    case normals:
    case depth:
        if (surface) {
            look = plainLook({}, 0.0f, 1.0f);
            look.shading = settings.material_type_a == normals ? Shading::normals : Shading::depth;
        }
        break;
    case clay:
        if (surface)
            look = plainLook(kClay, 0.0f, 0.92f);
        break;
    default:
        break;
    }
    if (!surface) {
        look.shading = Shading::flat;
        look.glass = false;
        look.opacity = look.file_alpha ? look.opacity : 1.0f;
    }
    // Light that no fragment uses must not tell two equal looks apart.
    if (look.shading != Shading::lit) {
        look.file_maps = false;
        look.emissive = {};
        look.clear_coat = 0;
    }
    return look;
}

float pointDiameter(int pointSize, std::size_t points)
{
    const int size = pointSize == 0 ? kDefaultPointSize : std::clamp(pointSize, 1, kMaxPointSize);
    const float side = std::sqrt(static_cast<float>(std::max<std::size_t>(points, 1)));
    return static_cast<float>(size) * std::clamp(kDenseSide / side, 1.0f, kMostEnlarged);
}

} // namespace ov3d::renderer
