#include "viewer/session/framewriter.h"

#include "src/render/handshake.h"
#include "viewer/protocol/messages.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ov3d::session {

namespace {

constexpr std::int32_t kMaxItemSide = 65535;
constexpr std::uint64_t kBufferBytesPerPixel = 8;

std::uint64_t pictureBytes(PictureSize size)
{
    return protocol::rowBytes(size.width) * static_cast<std::uint64_t>(size.height);
}

PictureSize scaled(std::int32_t width, std::int32_t height, double factor)
{
    const auto side = [factor](std::int32_t length) {
        return std::clamp(static_cast<std::int32_t>(std::floor(length * factor)), 1, kMaxPictureSide);
    };
    return {side(width), side(height)};
}

} // namespace

bool isSaneSize(std::int32_t width, std::int32_t height)
{
    return width > 0 && height > 0 && width <= kMaxItemSide && height <= kMaxItemSide;
}

std::uint64_t bufferCapacity(std::int32_t width, std::int32_t height)
{
    if (!isSaneSize(width, height))
        return 0;
    return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * kBufferBytesPerPixel;
}

PictureSize fitPicture(std::int32_t width, std::int32_t height, std::uint64_t capacity)
{
    if (!isSaneSize(width, height) || capacity < protocol::rowBytes(1))
        return {};
    if (std::max(width, height) <= kMaxPictureSide && pictureBytes({width, height}) <= capacity)
        return {width, height};

    // Both sides grow with the factor, so halving the interval finds the largest one.
    double low = 0;
    double high = std::min(1.0, static_cast<double>(kMaxPictureSide) / std::max(width, height));
    if (pictureBytes(scaled(width, height, high)) <= capacity)
        return scaled(width, height, high);
    for (int i = 0; i < 40; ++i) {
        const double middle = (low + high) / 2;
        (pictureBytes(scaled(width, height, middle)) <= capacity ? low : high) = middle;
    }
    const PictureSize size = scaled(width, height, low);
    return pictureBytes(size) <= capacity ? size : PictureSize{1, 1};
}

void writeFrame(ViewContext& context, unsigned char* buffer, const std::uint8_t* pixels, PictureSize size)
{
    if (!size.isEmpty())
        std::memcpy(buffer, pixels, pictureBytes(size));
    context.frame_height = size.isEmpty() ? 0 : size.height;
    storeRelease(context.frame_width, size.isEmpty() ? 0 : size.width);
}

void writeFileList(ViewContext& context, const std::vector<std::string>& names)
{
    constexpr std::size_t room = sizeof context.file_list - 1;
    std::string list;
    for (const std::string& name : names) {
        if (name.empty() || name.find('@') != std::string::npos || name.find('\0') != std::string::npos)
            continue;
        const std::size_t separator = list.empty() ? 0 : 1;
        if (list.size() + separator + name.size() > room)
            continue;
        if (separator == 1)
            list += '@';
        list += name;
    }
    std::memcpy(context.file_list, list.c_str(), list.size() + 1);
}

} // namespace ov3d::session
