#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ov3d::viewercheck {

/// One pixel as it lies in the buffer.
struct Pixel
{
    int red = 0;
    int green = 0;
    int blue = 0;
};

/// A copy of a frame that the viewer delivered.
struct Frame
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes; ///< rows as in the buffer, padded; empty when the frame does not fit the buffer

    [[nodiscard]] static std::size_t rowBytes(int width) { return (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4; }
    /// Bytes that a frame of this size has; 0 for sizes that are not positive.
    [[nodiscard]] static std::size_t sizeInBytes(int width, int height);

    [[nodiscard]] bool isEmpty() const { return bytes.empty(); }
    [[nodiscard]] Pixel at(int x, int y) const;
};

/// Within the tolerance in which the plug-in makes a pixel transparent.
[[nodiscard]] bool isNearKey(const Pixel& pixel);
[[nodiscard]] bool isExactKey(const Pixel& pixel);
/// Clearly green, as a mixture of the key colour with a colour without green would be, but not transparent.
[[nodiscard]] bool isGreenish(const Pixel& pixel);

/// Share of the pixels for which a test holds, 0 to 1.
[[nodiscard]] double shareOf(const Frame& frame, bool (*test)(const Pixel&));
/// Share of the pixels that show something else than the key colour.
[[nodiscard]] double modelShare(const Frame& frame);

/// The same picture but for noise: a viewer may draw on hardware that is not exact to the bit.
[[nodiscard]] bool looksLike(const Frame& one, const Frame& other);

} // namespace ov3d::viewercheck
