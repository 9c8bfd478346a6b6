#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// Bounds of a package, so that a small file cannot fill the memory.
inline constexpr std::size_t kMaxPackageEntries = 20000;
inline constexpr std::uint64_t kMaxInflatedBytes = std::uint64_t{512} * 1024 * 1024;
/// Highest ratio of the sizes before and after compression. Triangles as text reach 20, blanks a thousand.
inline constexpr std::uint64_t kMaxInflationRatio = 200;
/// Up to this size no ratio is suspicious.
inline constexpr std::uint64_t kHarmlessInflatedBytes = std::uint64_t{4} * 1024 * 1024;

/// The directory of a ZIP package in memory, and its entries, one piece at a time. It writes nothing and holds no more
/// than one piece of an entry.
class ZipPackage
{
public:
    struct Entry
    {
        std::string name;
        std::uint16_t method = 0; ///< 0 stored, 8 deflated
        std::uint32_t checksum = 0;
        std::uint64_t packed_bytes = 0;
        std::uint64_t inflated_bytes = 0;
        std::uint64_t header_at = 0; ///< of the entry's own header
    };

    /// Reads the directory and applies the bounds. The bytes outlive the package.
    /// @return false with plain words in `reason`; the package is empty then.
    bool open(const std::uint8_t* data, std::size_t size, std::string& reason);

    [[nodiscard]] const std::vector<Entry>& entries() const { return m_entries; }

    /// @param name without a slash at its beginning; the case of ASCII letters does not matter.
    [[nodiscard]] const Entry* find(std::string_view name) const;

    /// Inflates an entry for real, piece by piece, never beyond the size that the directory gives.
    /// @param use takes a piece; false ends the reading without a fault.
    /// @return what is wrong with the entry, or an empty text.
    std::string read(const Entry& entry, const std::function<bool(std::string_view)>& use) const;

    /// An entry's bytes as they are packed, or nothing when its own header is not where it should be.
    [[nodiscard]] std::string_view packed(const Entry& entry) const;

private:
    struct Directory
    {
        std::uint64_t at = 0;
        std::uint64_t bytes = 0;
        std::uint64_t entries = 0;
    };

    bool findDirectory(Directory& directory, std::string& reason) const;
    bool readDirectoryEnd(std::size_t at, Directory& directory) const;
    bool readDirectory(const Directory& directory, std::string& reason);
    bool readEntry(std::uint64_t& at, std::uint64_t end, std::string& reason);
    std::string checkBounds() const;

    const std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
    std::vector<Entry> m_entries;
    std::map<std::string, std::size_t> m_byName; ///< in small letters
};

} // namespace ov3d::renderer
