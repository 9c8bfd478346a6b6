#include "src/plugin/ov3dobject_shared_global.h"

#include "src/plugin/handlebuffer.h"

#include <QImage>

#include <cstdint>
#include <cstring>
#include <limits>

int g_3d_handle_size = 0;

namespace {

constexpr std::int64_t kBytesPerPixel = 3;

/// A QImage pads rows to four bytes while the buffer's size is counted without padding. The padding is at most a third
/// of the pixels (at widths 1 to 3), so this much more keeps every access inside the allocation.
std::size_t paddedCapacity(std::int64_t need)
{
    return static_cast<std::size_t>(need + need / 3 + 16);
}

std::int64_t pixelCount(int width, int height)
{
    return static_cast<std::int64_t>(width) * height;
}

} // namespace

void render3DObject(char* arg, QImage& image, int width, int height)
{
    const std::int64_t pixels = pixelCount(width, height);
    const std::int64_t need = pixels * kBytesPerPixel;
    if (width < 0 || height < 0 || need > std::numeric_limits<int>::max() ||
        pixels != pixelCount(image.width(), image.height()))
        return;

    if (need > g_3d_handle_size) {
        delete[] g_3d_handle;
        g_3d_handle = nullptr;
        g_3d_handle_size = 0;
        g_3d_handle = new unsigned char[paddedCapacity(need)];
        g_3d_handle_size = static_cast<int>(need);
    }
    if (g_3d_handle)
        std::memset(g_3d_handle, 0, static_cast<std::size_t>(g_3d_handle_size));

    if (g_image_render)
        g_image_render(arg, g_3d_handle, width, height);

    image = QImage(g_3d_handle, width, height, QImage::Format_RGB888);
}
