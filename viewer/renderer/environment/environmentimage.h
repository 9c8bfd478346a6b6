#pragma once

#include "viewer/renderer/environment/light.h"
#include "viewer/renderer/environment/skies.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::renderer {

/// A user's environment: an equirectangular picture of linear light, its middle towards -Z, rows from top to bottom.
struct EnvironmentImage
{
    int width = 0;
    int height = 0;
    std::vector<Light> pixels;

    /// Between pixels, linearly. The image is not empty.
    [[nodiscard]] Light at(Direction from) const;
};

/// Largest side and most pixels of a file that is read; anything above is a mistake or an attack.
inline constexpr std::int64_t kMaxEnvironmentSide = 32768;
inline constexpr std::int64_t kMaxEnvironmentPixels = std::int64_t{16384} * 8192;

/// Largest width that is kept; a wider file is averaged down while it is read.
inline constexpr int kMaxKeptEnvironmentWidth = 2048;

/// Reads a Radiance picture (.hdr: RGBE, plain or run-length, rows from the top, columns from the left) and brings it
/// to the brightness of our own environments, since such files have no common unit.
///
/// @return false with plain words in `reason` ("is no Radiance picture"); `image` is then unspecified. Throws
/// std::bad_alloc. Never keeps more than kMaxKeptEnvironmentWidth columns in memory.
bool readRadianceFile(const std::string& path, EnvironmentImage& image, std::string& reason);

/// The same from bytes.
bool readRadiance(const std::uint8_t* bytes, std::size_t size, EnvironmentImage& image, std::string& reason);

} // namespace ov3d::renderer
