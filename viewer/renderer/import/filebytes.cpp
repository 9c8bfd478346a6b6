#include "viewer/renderer/import/filebytes.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ov3d::renderer {
namespace {

std::string systemReason(int error)
{
    std::string text = std::strerror(error);
    if (!text.empty())
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return "cannot be read: " + text;
}

} // namespace

FileBytes::FileBytes(FileBytes&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr))
    , m_size(std::exchange(other.m_size, 0))
    , m_mapped(std::exchange(other.m_mapped, 0))
{
}

FileBytes& FileBytes::operator=(FileBytes&& other) noexcept
{
    if (this != &other) {
        release();
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
        m_mapped = std::exchange(other.m_mapped, 0);
    }
    return *this;
}

FileBytes::~FileBytes()
{
    release();
}

void FileBytes::release()
{
    if (m_data)
        ::munmap(const_cast<std::uint8_t*>(m_data), m_mapped);
    m_data = nullptr;
    m_size = m_mapped = 0;
}

bool FileBytes::assign(std::string_view bytes)
{
    void* mapped = ::mmap(nullptr, bytes.size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        return false;
    // Copied before the old bytes go: they may be the same.
    std::memcpy(mapped, bytes.data(), bytes.size());
    release();
    m_data = static_cast<const std::uint8_t*>(mapped);
    m_size = m_mapped = bytes.size();
    return true;
}

bool FileBytes::overwrite(std::size_t at, std::uint8_t byte)
{
    if (at >= m_size)
        return false;
    // One page alone, since private writable pages count for the memory limit.
    const auto pageBytes = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    auto* page = const_cast<std::uint8_t*>(m_data) + at / pageBytes * pageBytes;
    if (::mprotect(page, 1, PROT_READ | PROT_WRITE) != 0)
        return false;
    page[at % pageBytes] = byte;
    return true;
}

bool FileBytes::open(const std::string& path, std::string& reason)
{
    release();
    // Not blocking, so that a named pipe in the place of a file cannot hold us.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (descriptor < 0) {
        reason = systemReason(errno);
        return false;
    }

    struct stat status = {};
    void* mapped = MAP_FAILED;
    if (::fstat(descriptor, &status) != 0)
        reason = systemReason(errno);
    else if (S_ISDIR(status.st_mode))
        reason = "is a folder";
    else if (!S_ISREG(status.st_mode))
        reason = "is no ordinary file";
    else if (status.st_size == 0)
        reason = "is empty";
    else {
        mapped = ::mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (mapped == MAP_FAILED)
            reason = systemReason(errno);
    }
    ::close(descriptor);
    if (mapped == MAP_FAILED)
        return false;

    m_data = static_cast<const std::uint8_t*>(mapped);
    m_size = m_mapped = static_cast<std::size_t>(status.st_size);
    return true;
}

} // namespace ov3d::renderer
