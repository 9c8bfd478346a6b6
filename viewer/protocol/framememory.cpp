#include "viewer/protocol/framememory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <utility>

namespace ov3d::protocol {

FrameMemory::FrameMemory(FrameMemory&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
    , m_data(std::exchange(other.m_data, nullptr))
    , m_size(std::exchange(other.m_size, 0))
{
}

FrameMemory& FrameMemory::operator=(FrameMemory&& other) noexcept
{
    if (this != &other) {
        release();
        m_descriptor = std::exchange(other.m_descriptor, -1);
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

FrameMemory::~FrameMemory()
{
    release();
}

FrameMemory FrameMemory::create(std::size_t bytes)
{
    if (bytes == 0 || bytes > static_cast<std::size_t>(std::numeric_limits<off_t>::max()))
        return {};
    const int descriptor = memfd_create("ov3d-frame", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor < 0)
        return {};
    if (ftruncate(descriptor, static_cast<off_t>(bytes)) != 0 ||
        fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        ::close(descriptor);
        return {};
    }
    return map(descriptor, bytes);
}

FrameMemory FrameMemory::map(int descriptor, std::size_t bytes)
{
    FrameMemory memory;
    memory.m_descriptor = descriptor;
    // Memory shorter than announced would raise SIGBUS at the first touch.
    struct stat info = {};
    if (descriptor < 0 || bytes == 0 || fstat(descriptor, &info) != 0 || info.st_size < 0 ||
        static_cast<std::size_t>(info.st_size) < bytes) {
        memory.release();
        return memory;
    }
    void* data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (data == MAP_FAILED) {
        memory.release();
        return memory;
    }
    memory.m_data = static_cast<std::uint8_t*>(data);
    memory.m_size = bytes;
    return memory;
}

void FrameMemory::release()
{
    if (m_data)
        munmap(m_data, m_size);
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_data = nullptr;
    m_descriptor = -1;
    m_size = 0;
}

} // namespace ov3d::protocol
