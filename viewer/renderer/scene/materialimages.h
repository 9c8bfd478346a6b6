#pragma once

#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/scene/imagedecoding.h"

/// From the images that files bring to those that surfaces are drawn with. Pure pixel work: no VTK.
namespace ov3d::renderer {

struct AlphaFacts
{
    bool cutOut = false;      ///< some pixels are wholly transparent
    bool translucent = false; ///< some are partly so
};

[[nodiscard]] AlphaFacts alphaFacts(const DecodedImage& image);

/// Multiplies the alpha by the opacity image's: by its alpha where that varies, else by its grey.
void applyOpacity(DecodedImage& image, const DecodedImage& opacity);

/// @return whether the image holds directions, as a normal map does, and not heights.
[[nodiscard]] bool looksLikeNormals(const DecodedImage& image);

/// Turns heights (grey, white is high) into directions, green upwards. The edges wrap around.
[[nodiscard]] DecodedImage normalsFromHeights(const DecodedImage& heights);

/// Puts roughness into green and metallic into blue, where RoughnessChannels::roughness or ::metallic says that the
/// grey is one of them; the other is full, so that the material's own factor counts.
void arrangeRoughness(DecodedImage& image, RoughnessChannels channels);

/// Translates a specular-glossiness pair, pixel by pixel, at the size of the larger one.
/// @param diffuse    the scattered colour; receives the base colour, factors included.
/// @param glossiness the reflected colour and, in alpha, the glossiness; receives roughness and metallic.
void translateSpecularGlossiness(const MaterialData& material, DecodedImage& diffuse, DecodedImage& glossiness);

} // namespace ov3d::renderer
