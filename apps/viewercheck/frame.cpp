#include "apps/viewercheck/frame.h"

#include <algorithm>
#include <cstdlib>

namespace ov3d::viewercheck {

namespace {

constexpr Pixel kKey{92, 238, 20};
constexpr int kKeyTolerance = 2;
constexpr int kClearlyGreener = 40;
// Two pictures of the same view differ in at most this share of the pixels by more than this much.
constexpr double kNoiseShare = 0.005;
constexpr int kNoiseLevels = 24;

bool isWithin(const Pixel& one, const Pixel& other, int tolerance)
{
    return std::abs(one.red - other.red) <= tolerance && std::abs(one.green - other.green) <= tolerance &&
           std::abs(one.blue - other.blue) <= tolerance;
}

} // namespace

std::size_t Frame::sizeInBytes(int width, int height)
{
    return width > 0 && height > 0 ? rowBytes(width) * static_cast<std::size_t>(height) : 0;
}

Pixel Frame::at(int x, int y) const
{
    const std::uint8_t* pixel =
        bytes.data() + static_cast<std::size_t>(y) * rowBytes(width) + static_cast<std::size_t>(x) * 3;
    return {pixel[0], pixel[1], pixel[2]};
}

bool isNearKey(const Pixel& pixel)
{
    return isWithin(pixel, kKey, kKeyTolerance);
}

bool isExactKey(const Pixel& pixel)
{
    return isWithin(pixel, kKey, 0);
}

bool isGreenish(const Pixel& pixel)
{
    return !isNearKey(pixel) && pixel.green > std::max(pixel.red, pixel.blue) + kClearlyGreener;
}

double shareOf(const Frame& frame, bool (*test)(const Pixel&))
{
    if (frame.isEmpty())
        return 0;
    std::size_t count = 0;
    for (int y = 0; y < frame.height; ++y)
        for (int x = 0; x < frame.width; ++x)
            count += test(frame.at(x, y)) ? 1 : 0;
    return static_cast<double>(count) / frame.width / frame.height;
}

double modelShare(const Frame& frame)
{
    return frame.isEmpty() ? 0 : 1 - shareOf(frame, isNearKey);
}

bool looksLike(const Frame& one, const Frame& other)
{
    if (one.width != other.width || one.height != other.height || one.isEmpty() != other.isEmpty())
        return false;
    std::size_t different = 0;
    for (int y = 0; y < one.height; ++y)
        for (int x = 0; x < one.width; ++x)
            different += isWithin(one.at(x, y), other.at(x, y), kNoiseLevels) ? 0 : 1;
    return static_cast<double>(different) <= kNoiseShare * one.width * one.height;
}

} // namespace ov3d::viewercheck
