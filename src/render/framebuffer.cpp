#include "src/render/framebuffer.h"

#include <algorithm>
#include <new>

#include <sys/mman.h>

namespace {

constexpr std::uint64_t kBytesPerPixel = 8;
constexpr std::uint64_t kReservedBytes = std::uint64_t{256} << 20;

std::uint64_t clampedPixels(int width, int height)
{
    return static_cast<std::uint64_t>(std::max(width, 0)) * static_cast<std::uint64_t>(std::max(height, 0));
}

} // namespace

FrameBuffer FrameBuffer::reserve(int width, int height)
{
    FrameBuffer buffer;
    const std::uint64_t promised = clampedPixels(width, height) * kBytesPerPixel;
    const std::uint64_t wanted = std::max(promised, kReservedBytes);
    void* mapping = ::mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping != MAP_FAILED) {
        buffer.m_data = static_cast<unsigned char*>(mapping);
        buffer.m_capacity = wanted;
        buffer.m_isMapping = true;
        return buffer;
    }
    buffer.m_data = new (std::nothrow) unsigned char[promised];
    buffer.m_capacity = buffer.m_data ? promised : 0;
    return buffer;
}

bool FrameBuffer::holds(int width, int height) const
{
    if (width <= 0 || height <= 0)
        return false;
    const std::uint64_t rowBytes = (static_cast<std::uint64_t>(width) * 3 + 3) / 4 * 4;
    return rowBytes <= m_capacity / static_cast<std::uint64_t>(height);
}

void FrameBuffer::discardPages()
{
    if (m_isMapping)
        ::madvise(m_data, m_capacity, MADV_DONTNEED);
}
