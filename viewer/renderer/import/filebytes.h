#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ov3d::renderer {

/// The bytes of a file, mapped read-only. They count for nobody's memory limit.
class FileBytes
{
public:
    FileBytes() = default;
    FileBytes(FileBytes&& other) noexcept;
    FileBytes& operator=(FileBytes&& other) noexcept;
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes();

    /// Maps a regular file. @return false with plain words in `reason` ("cannot be read: permission denied", "is
    /// empty").
    bool open(const std::string& path, std::string& reason);

    /// Holds a copy of these bytes instead, which counts for the memory limit. @return false without memory.
    bool assign(std::string_view bytes);

    [[nodiscard]] bool isOpen() const { return m_data != nullptr; }
    [[nodiscard]] const std::uint8_t* data() const { return m_data; }
    [[nodiscard]] std::size_t size() const { return m_size; }

    /// Shows only the beginning from now on. `size` is at most the present size.
    void truncate(std::size_t size) { m_size = size; }

    /// Changes a byte of what this process sees; the file keeps its own. @return whether the system let us.
    bool overwrite(std::size_t at, std::uint8_t byte);

private:
    void release();

    const std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_mapped = 0;
};

} // namespace ov3d::renderer
