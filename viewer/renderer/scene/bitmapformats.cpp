#include "viewer/renderer/scene/bitmapformats.h"

namespace ov3d::renderer {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBmpFileHeaderBytes = 14;
constexpr std::size_t kTgaHeaderBytes = 18;

std::uint32_t little(const Bytes& bytes, std::size_t at, int count)
{
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i)
        value |= static_cast<std::uint32_t>(bytes[at + static_cast<std::size_t>(i)]) << (8 * i);
    return value;
}

bool fits(const Bytes& bytes, std::size_t at, std::size_t count)
{
    return at <= bytes.size() && count <= bytes.size() - at;
}

/// Writes one stored pixel (blue, green, red, alpha; or a palette index; or grey).
bool writePixel(const Bytes& bytes, const BitmapHeader& header, std::size_t at, std::uint8_t* rgba)
{
    int bits = header.bits;
    if (header.paletteSize > 0) {
        const std::size_t index = bytes[at];
        bits = header.paletteBits;
        if (index >= header.paletteSize)
            return false;
        at = header.palette + index * static_cast<std::size_t>(bits / 8);
    }
    if (header.grey)
        rgba[0] = rgba[1] = rgba[2] = bytes[at];
    else {
        rgba[0] = bytes[at + 2];
        rgba[1] = bytes[at + 1];
        rgba[2] = bytes[at];
    }
    rgba[3] = bits == 32 && header.paletteSize == 0 ? bytes[at + 3] : std::uint8_t{255};
    return true;
}

std::uint8_t* target(const BitmapHeader& header, std::int64_t pixel, std::uint8_t* rgba)
{
    const std::int64_t row = pixel / header.width;
    const std::int64_t shown = header.topDown ? row : header.height - 1 - row;
    return rgba + (shown * header.width + pixel % header.width) * 4;
}

bool paletteFits(const Bytes& bytes, const BitmapHeader& header)
{
    return header.paletteSize == 0 ||
           ((header.paletteBits == 24 || header.paletteBits == 32) && header.paletteSize <= 256 &&
            fits(bytes, header.palette, header.paletteSize * static_cast<std::size_t>(header.paletteBits / 8)));
}

bool readRunLengthPixels(const Bytes& bytes, const BitmapHeader& header, std::uint8_t* rgba)
{
    const auto pixelBytes = static_cast<std::size_t>(header.bits / 8);
    const std::int64_t total = header.width * header.height;
    std::size_t at = header.pixels;
    for (std::int64_t pixel = 0; pixel < total;) {
        if (!fits(bytes, at, 1))
            return false;
        const bool repeated = (bytes[at] & 0x80) != 0;
        const int count = (bytes[at] & 0x7F) + 1;
        ++at;
        for (int i = 0; i < count && pixel < total; ++i, ++pixel) {
            if (!fits(bytes, at, pixelBytes) || !writePixel(bytes, header, at, target(header, pixel, rgba)))
                return false;
            if (!repeated)
                at += pixelBytes;
        }
        if (repeated)
            at += pixelBytes;
    }
    return true;
}

bool readPlainPixels(const Bytes& bytes, const BitmapHeader& header, std::size_t rowBytes, std::uint8_t* rgba)
{
    const auto pixelBytes = static_cast<std::size_t>(header.bits / 8);
    if (!fits(bytes, header.pixels, rowBytes * static_cast<std::size_t>(header.height)))
        return false;
    for (std::int64_t pixel = 0; pixel < header.width * header.height; ++pixel) {
        const std::size_t at = header.pixels + static_cast<std::size_t>(pixel / header.width) * rowBytes +
                               static_cast<std::size_t>(pixel % header.width) * pixelBytes;
        if (!writePixel(bytes, header, at, target(header, pixel, rgba)))
            return false;
    }
    return true;
}

/// Many programs leave the fourth byte at zero and mean nothing by it.
void makeOpaqueIfInvisible(const BitmapHeader& header, std::uint8_t* rgba)
{
    const std::int64_t total = header.width * header.height;
    for (std::int64_t i = 0; i < total; ++i)
        if (rgba[i * 4 + 3] != 0)
            return;
    for (std::int64_t i = 0; i < total; ++i)
        rgba[i * 4 + 3] = 255;
}

} // namespace

bool readBmpHeader(const Bytes& bytes, BitmapHeader& header)
{
    if (!fits(bytes, 0, kBmpFileHeaderBytes + 40))
        return false;
    const std::uint32_t infoBytes = little(bytes, kBmpFileHeaderBytes, 4);
    const std::uint32_t compression = little(bytes, 30, 4);
    header.width = static_cast<std::int32_t>(little(bytes, 18, 4));
    header.height = static_cast<std::int32_t>(little(bytes, 22, 4));
    header.topDown = header.height < 0;
    header.height = header.topDown ? -header.height : header.height;
    header.bits = static_cast<int>(little(bytes, 28, 2));
    header.pixels = little(bytes, 10, 4);
    // Bit fields (3) are what 32-bit files with the usual order of channels say.
    const bool plain = compression == 0 || (compression == 3 && header.bits == 32);
    if (infoBytes < 40 || !plain || header.width <= 0 || header.height <= 0)
        return false;
    if (header.bits == 8) {
        const std::uint32_t entries = little(bytes, 46, 4);
        header.palette = kBmpFileHeaderBytes + infoBytes;
        header.paletteSize = entries == 0 ? 256 : entries;
        header.paletteBits = 32;
    }
    return (header.bits == 8 || header.bits == 24 || header.bits == 32) && paletteFits(bytes, header);
}

bool readBmpPixels(const Bytes& bytes, const BitmapHeader& header, std::uint8_t* rgba)
{
    const auto used = static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.bits / 8);
    if (!readPlainPixels(bytes, header, (used + 3) / 4 * 4, rgba))
        return false;
    makeOpaqueIfInvisible(header, rgba);
    return true;
}

bool readTgaHeader(const Bytes& bytes, BitmapHeader& header)
{
    if (!fits(bytes, 0, kTgaHeaderBytes))
        return false;
    const int type = bytes[2];
    header.runLength = (type & 8) != 0;
    const int kind = type & ~8; // 1 palette, 2 true colour, 3 grey
    header.grey = kind == 3;
    header.width = little(bytes, 12, 2);
    header.height = little(bytes, 14, 2);
    header.bits = bytes[16];
    header.topDown = (bytes[17] & 0x20) != 0;
    header.palette = kTgaHeaderBytes + bytes[0];
    const std::size_t storedEntries = bytes[1] == 1 ? little(bytes, 5, 2) : 0;
    const int entryBits = bytes[7];
    header.pixels = header.palette + storedEntries * static_cast<std::size_t>((entryBits + 7) / 8);
    if (kind == 1) {
        header.paletteSize = storedEntries;
        header.paletteBits = entryBits;
        if (storedEntries == 0 || header.bits != 8 || little(bytes, 3, 2) != 0)
            return false;
    }
    const bool depth = kind == 2 ? header.bits == 24 || header.bits == 32 : header.bits == 8;
    return kind >= 1 && kind <= 3 && depth && header.width > 0 && header.height > 0 && paletteFits(bytes, header);
}

bool readTgaPixels(const Bytes& bytes, const BitmapHeader& header, std::uint8_t* rgba)
{
    const auto rowBytes = static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.bits / 8);
    if (header.runLength ? !readRunLengthPixels(bytes, header, rgba) : !readPlainPixels(bytes, header, rowBytes, rgba))
        return false;
    makeOpaqueIfInvisible(header, rgba);
    return true;
}

} // namespace ov3d::renderer
