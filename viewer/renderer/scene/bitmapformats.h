#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// The two old bitmap formats that models still bring, straight from their published layouts.
namespace ov3d::renderer {

struct BitmapHeader
{
    std::int64_t width = 0;
    std::int64_t height = 0;
    int bits = 0;                ///< of a pixel
    bool topDown = false;        ///< the first stored row is the top one
    bool runLength = false;      ///< TGA alone
    bool grey = false;           ///< TGA alone
    std::size_t palette = 0;     ///< where the palette begins
    std::size_t paletteSize = 0; ///< entries
    int paletteBits = 0;         ///< of an entry: 24 or 32
    std::size_t pixels = 0;      ///< where the pixels begin
};

/// @return false for anything but 8, 24 or 32 bits without compression.
bool readBmpHeader(const std::vector<std::uint8_t>& bytes, BitmapHeader& header);

/// @param rgba width * height * 4 bytes, rows from top to bottom. @return false when the file ends early.
bool readBmpPixels(const std::vector<std::uint8_t>& bytes, const BitmapHeader& header, std::uint8_t* rgba);

/// @return false for anything but grey, palette or true colour of 8, 24 or 32 bits, plain or run-length.
bool readTgaHeader(const std::vector<std::uint8_t>& bytes, BitmapHeader& header);

/// As for BMP.
bool readTgaPixels(const std::vector<std::uint8_t>& bytes, const BitmapHeader& header, std::uint8_t* rgba);

} // namespace ov3d::renderer
