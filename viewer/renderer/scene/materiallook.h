#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/renderer/import/materialtranslation.h"
#include "viewer/renderer/import/modeldata.h"

/// What a surface looks like under the settings. Pure decisions: no VTK.
namespace ov3d::renderer {

/// The `material_type_b` that makes all surfaces glass.
inline constexpr int kGlassPreset = 3;

/// How a fragment gets its colour.
enum class Shading
{
    lit,     ///< physically based, by the renderer's lights
    flat,    ///< the surface's colour alone
    normals, ///< the direction that the surface faces, in the axes of the picture
    depth,   ///< bright in front, dark behind
};

/// A surface as it is to be drawn. Colours are as displayed.
struct MaterialLook
{
    Shading shading = Shading::lit;
    Colour colour{};
    float opacity = 1;
    float metallic = 0;
    float roughness = 0.5f;
    Colour emissive{};
    float clear_coat = 0;
    float clear_coat_roughness = 0;
    bool file_texture = false; ///< the file's base texture multiplies the colour; else it only cuts out
    bool file_colours = false; ///< the file's vertex colours are the colour
    bool file_maps = false;    ///< the file's other textures count
    bool file_alpha = false;   ///< the file's alpha makes translucent
    bool stone = false;        ///< a grain lies over the colour
    bool glass = false;        ///< all surfaces are of one glass, and of one look
    bool smooth_texels = true; ///< textures are interpolated

    friend bool operator==(const MaterialLook&, const MaterialLook&) = default;
};

/// The settings' say, in this order:
///
/// - `raw_mode`: the file's colours, textures and vertex colours as they are, without light and without interpolating
///   between texels; nothing below counts.
/// - `material_type_a`, the shading: 0 the material's own, 1 unlit, 2 normals, 3 depth, 4 clay; anything else is 0.
/// - `material_type_b`, the material: 0 brass, 1 chrome, 2 plastic, 3 glass, 4 stone, 5 rubber, 6 the file's own;
///   anything else is 6. Plastic and glass take `material_color`, rubber a dark shade of it; brass, chrome and stone
///   have colours of their own, and so has clay.
///
/// Lines and points have no surface: they show their colour under every shading, and take a preset's colour.
/// A cut-out material (AlphaMode::mask) keeps its shape under all of them.
MaterialLook lookOf(const MaterialData& material, Primitive primitive, const protocol::RenderSettings& settings);

/// @return the diameter of a point, pixels of the picture.
///
/// `point_size` (0 means 3, 64 is the largest) is for clouds so dense that points touch; sparse ones are drawn larger,
/// up to four times, so that a handful of points is seen at all.
float pointDiameter(int pointSize, std::size_t points);

} // namespace ov3d::renderer
