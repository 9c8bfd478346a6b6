#pragma once

#include "viewer/renderer/import/modeldata.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::renderer {

struct DecodedImage
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba; ///< rows from top to bottom
};

/// Largest image that is decoded; anything above is a mistake or an attack.
inline constexpr std::int64_t kMaxImagePixels = std::int64_t{8192} * 8192;

/// Decodes PNG, JPEG, BMP and TGA, told apart by content (TGA has no mark of its own: by name).
/// @return false with plain words in `reason`; `out` is then unspecified. Throws std::bad_alloc.
bool decodeImage(const TextureData& texture, DecodedImage& out, std::string& reason);

} // namespace ov3d::renderer
