#pragma once

#include "src/render/viewcontext.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::session {

struct PictureSize
{
    std::int32_t width = 0;
    std::int32_t height = 0;

    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// Largest side of a picture, pixels.
inline constexpr std::int32_t kMaxPictureSide = 8192;

/// Whether an item's size can be meant: positive, and not beyond what any buffer could hold.
[[nodiscard]] bool isSaneSize(std::int32_t width, std::int32_t height);

/// Bytes that the host's frame buffer holds for this size; 0 for a size that is not sane.
[[nodiscard]] std::uint64_t bufferCapacity(std::int32_t width, std::int32_t height);

/// The size itself where its padded rows fit into the capacity, otherwise the largest size of its shape that does.
/// Empty when not even one pixel fits.
[[nodiscard]] PictureSize fitPicture(std::int32_t width, std::int32_t height, std::uint64_t capacity);

/// Hands a frame to the host: pixels first, `frame_width` last. The caller has seen kNoFrame there, and knows that the
/// pixels fit. An empty size hands over a frame without pixels, so that nobody waits for one.
void writeFrame(ViewContext& context, unsigned char* buffer, const std::uint8_t* pixels, PictureSize size);

/// Writes names into `file_list`, "@" between: whole names only. A name that does not fit is left out, and so is one
/// with an "@", which the list cannot carry.
void writeFileList(ViewContext& context, const std::vector<std::string>& names);

} // namespace ov3d::session
