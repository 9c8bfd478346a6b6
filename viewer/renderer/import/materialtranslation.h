#pragma once

#include <array>

/// Older ways to describe a surface, as metallic-roughness. Pure arithmetic: no Assimp, no VTK.
namespace ov3d::renderer {

using Colour = std::array<float, 3>;

/// A light intensity (linear) as the value that is displayed (sRGB), both 0 to 1.
float displayedFromLinear(float linear);

/// The other way round.
float linearFromDisplayed(float displayed);

/// A Phong highlight as the roughness that spreads the light about as much.
///
/// @param shininess the exponent, 0 and above; what is no number counts as 0.
/// @param strength  of the highlight, 0 to 1: a weak one is a rough surface's, however sharp it claims to be.
float roughnessFromPhong(float shininess, float strength);

struct MetallicRoughness
{
    Colour base{}; ///< linear
    float metallic = 0;
};

/// A surface that reflects `specular` and scatters `diffuse`, both linear, 0 to 1. Dielectrics reflect 4 percent.
MetallicRoughness fromSpecularGlossiness(const Colour& diffuse, const Colour& specular);

} // namespace ov3d::renderer
