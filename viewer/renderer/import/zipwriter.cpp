#include "viewer/renderer/import/zipwriter.h"

#include <utility>
#include <zlib.h>

namespace ov3d::renderer {
namespace {

constexpr std::uint32_t kLocalHeader = 0x04034B50;
constexpr std::uint32_t kDirectoryEntry = 0x02014B50;
constexpr std::uint32_t kDirectoryEnd = 0x06054B50;
constexpr std::uint64_t kReaderVersion = 20;
constexpr std::uint64_t kUtf8Names = 0x0800;
/// 1 January 1980, the first day that a package knows.
constexpr std::uint64_t kFirstDate = 0x21;

} // namespace

void ZipWriter::put16(std::vector<std::uint8_t>& to, std::uint64_t value)
{
    for (int shift = 0; shift < 16; shift += 8)
        to.push_back(static_cast<std::uint8_t>(value >> shift & 0xFF));
}

void ZipWriter::put32(std::vector<std::uint8_t>& to, std::uint64_t value)
{
    put16(to, value & 0xFFFF);
    put16(to, value >> 16 & 0xFFFF);
}

void ZipWriter::putCommon(std::vector<std::uint8_t>& to, const std::string& name, const Packed& part)
{
    put16(to, kReaderVersion);
    put16(to, kUtf8Names);
    put16(to, part.method);
    put16(to, 0); // time
    put16(to, kFirstDate);
    put32(to, part.checksum);
    put32(to, part.bytes.size());
    put32(to, part.inflated_bytes);
    put16(to, name.size());
    put16(to, 0); // extra fields
}

void ZipWriter::add(const std::string& name, const Packed& part)
{
    const std::size_t at = m_bytes.size();
    put32(m_bytes, kLocalHeader);
    putCommon(m_bytes, name, part);
    m_bytes.insert(m_bytes.end(), name.begin(), name.end());
    m_bytes.insert(m_bytes.end(), part.bytes.begin(), part.bytes.end());

    put32(m_directory, kDirectoryEntry);
    put16(m_directory, kReaderVersion);
    putCommon(m_directory, name, part);
    put16(m_directory, 0); // comment
    put16(m_directory, 0); // disk
    put16(m_directory, 0); // internal attributes
    put32(m_directory, 0); // external attributes
    put32(m_directory, at);
    m_directory.insert(m_directory.end(), name.begin(), name.end());
    ++m_parts;
}

void ZipWriter::add(const std::string& name, std::string_view content)
{
    Packed part;
    part.checksum =
        static_cast<std::uint32_t>(::crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size()));
    part.inflated_bytes = content.size();
    part.bytes = content;
    add(name, part);
}

std::vector<std::uint8_t> ZipWriter::finish()
{
    const std::size_t directoryAt = m_bytes.size();
    m_bytes.insert(m_bytes.end(), m_directory.begin(), m_directory.end());
    put32(m_bytes, kDirectoryEnd);
    put16(m_bytes, 0); // this disk
    put16(m_bytes, 0); // the directory's disk
    put16(m_bytes, m_parts);
    put16(m_bytes, m_parts);
    put32(m_bytes, m_directory.size());
    put32(m_bytes, directoryAt);
    put16(m_bytes, 0); // comment
    m_directory.clear();
    m_parts = 0;
    return std::exchange(m_bytes, {});
}

} // namespace ov3d::renderer
