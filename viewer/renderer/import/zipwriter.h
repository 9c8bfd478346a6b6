#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// Puts a ZIP package together in memory, of parts that are packed already or stay as they are. For packages of less
/// than 4 GiB and 65,535 parts.
class ZipWriter
{
public:
    /// A part as another package holds it.
    struct Packed
    {
        std::uint16_t method = 0;
        std::uint32_t checksum = 0;
        std::uint64_t inflated_bytes = 0;
        std::string_view bytes;
    };

    void add(const std::string& name, const Packed& part);

    /// A part that is not compressed.
    void add(const std::string& name, std::string_view content);

    /// Ends the package. @return its bytes; the writer is empty afterwards.
    std::vector<std::uint8_t> finish();

private:
    void put16(std::vector<std::uint8_t>& to, std::uint64_t value);
    void put32(std::vector<std::uint8_t>& to, std::uint64_t value);
    void putCommon(std::vector<std::uint8_t>& to, const std::string& name, const Packed& part);

    std::vector<std::uint8_t> m_bytes;
    std::vector<std::uint8_t> m_directory;
    std::uint64_t m_parts = 0;
};

} // namespace ov3d::renderer
