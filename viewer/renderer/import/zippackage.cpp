#include "viewer/renderer/import/zippackage.h"

#include "viewer/renderer/import/littleendian.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <memory>
#include <zlib.h>

namespace ov3d::renderer {
namespace {

constexpr std::uint32_t kLocalHeader = 0x04034B50;
constexpr std::uint32_t kDirectoryEntry = 0x02014B50;
constexpr std::uint32_t kDirectoryEnd = 0x06054B50;
constexpr std::uint32_t kLargeDirectoryEnd = 0x06064B50;
constexpr std::uint32_t kLargeLocator = 0x07064B50;
constexpr std::size_t kLocalHeaderBytes = 30;
constexpr std::size_t kDirectoryEntryBytes = 46;
constexpr std::size_t kDirectoryEndBytes = 22;
constexpr std::size_t kLargeDirectoryEndBytes = 56;
constexpr std::size_t kLargeLocatorBytes = 20;
constexpr std::size_t kMaxCommentBytes = 65535;
constexpr std::uint16_t kLargeSizesTag = 1;
constexpr std::uint16_t kEncryptedFlag = 1;
constexpr std::uint16_t kStored = 0;
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint32_t kInLargeField = 0xFFFFFFFF;
/// More than compression ever adds to data that cannot be compressed, besides its own size.
constexpr std::uint64_t kPackingOverheadBytes = 1024;
constexpr std::size_t kPieceBytes = 256 * 1024;

const char* const kDamaged = "is damaged: its list of parts cannot be read";

std::string lowered(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

/// Sizes that do not fit into 32 bits stand in an extra field, in a fixed order, each only when it is needed.
bool readLargeSizes(const std::uint8_t* extra, std::size_t bytes, std::uint64_t& inflated, std::uint64_t& packed,
                    std::uint64_t& headerAt)
{
    for (std::size_t at = 0; at + 4 <= bytes;) {
        const std::uint16_t tag = littleEndian16(extra + at);
        const std::size_t length = littleEndian16(extra + at + 2);
        at += 4;
        if (length > bytes - at)
            return false;
        if (tag == kLargeSizesTag) {
            std::size_t used = 0;
            for (std::uint64_t* value : {&inflated, &packed, &headerAt}) {
                if (*value != kInLargeField)
                    continue;
                if (used + 8 > length)
                    return false;
                *value = littleEndian64(extra + at + used);
                used += 8;
            }
            return true;
        }
        at += length;
    }
    return inflated != kInLargeField && packed != kInLargeField && headerAt != kInLargeField;
}

/// Passes on at most `limit` bytes of what a deflated entry holds.
std::string inflate(std::string_view packed, std::uint64_t limit, const std::function<bool(std::string_view)>& use)
{
    z_stream stream = {};
    if (::inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return "needs more memory than allowed";
    const std::unique_ptr<z_stream, int (*)(z_stream*)> guard(&stream, &::inflateEnd);
    std::vector<char> piece(kPieceBytes);
    std::uint64_t produced = 0;
    std::size_t taken = 0;
    for (int status = Z_OK; status != Z_STREAM_END;) {
        if (stream.avail_in == 0) {
            stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data() + taken));
            stream.avail_in = static_cast<uInt>(std::min<std::uint64_t>(packed.size() - taken, 1U << 30));
            taken += stream.avail_in;
        }
        stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        status = ::inflate(&stream, Z_NO_FLUSH);
        if (status != Z_OK && status != Z_STREAM_END)
            return "cannot be unpacked";
        const std::size_t got = piece.size() - stream.avail_out;
        produced += got;
        if (produced > limit)
            return "unpacks to more than its size";
        if (got > 0 && !use({piece.data(), got}))
            return {};
    }
    return produced == limit ? "" : "unpacks to less than its size";
}

} // namespace

bool ZipPackage::open(const std::uint8_t* data, std::size_t size, std::string& reason)
{
    m_data = data;
    m_size = size;
    m_entries.clear();
    m_byName.clear();
    Directory directory;
    bool usable = findDirectory(directory, reason) && readDirectory(directory, reason);
    if (usable) {
        reason = checkBounds();
        usable = reason.empty();
    }
    if (!usable) {
        m_entries.clear();
        m_byName.clear();
    }
    return usable;
}

bool ZipPackage::readDirectoryEnd(std::size_t at, Directory& directory) const
{
    directory.entries = littleEndian16(m_data + at + 10);
    directory.bytes = littleEndian32(m_data + at + 12);
    directory.at = littleEndian32(m_data + at + 16);
    std::uint64_t end = at;
    const bool isLarge =
        directory.entries == 0xFFFF || directory.bytes == kInLargeField || directory.at == kInLargeField;
    if (isLarge && at >= kLargeLocatorBytes && littleEndian32(m_data + at - kLargeLocatorBytes) == kLargeLocator) {
        const std::uint64_t large = littleEndian64(m_data + at - kLargeLocatorBytes + 8);
        if (m_size < kLargeDirectoryEndBytes || large > m_size - kLargeDirectoryEndBytes ||
            littleEndian32(m_data + large) != kLargeDirectoryEnd)
            return false;
        directory.entries = littleEndian64(m_data + large + 32);
        directory.bytes = littleEndian64(m_data + large + 40);
        directory.at = littleEndian64(m_data + large + 48);
        end = large;
    }
    return directory.at <= end && directory.bytes <= end - directory.at && directory.bytes >= kDirectoryEntryBytes &&
           littleEndian32(m_data + directory.at) == kDirectoryEntry;
}

bool ZipPackage::findDirectory(Directory& directory, std::string& reason) const
{
    if (m_size < 4 || littleEndian32(m_data) != kLocalHeader) {
        reason = "is no 3MF package";
        return false;
    }
    int found = 0;
    const std::size_t searched = std::min(m_size, kMaxCommentBytes + kDirectoryEndBytes);
    for (std::size_t back = kDirectoryEndBytes; back <= searched; ++back) {
        Directory candidate;
        if (littleEndian32(m_data + m_size - back) == kDirectoryEnd && readDirectoryEnd(m_size - back, candidate)) {
            directory = candidate;
            ++found;
        }
    }
    // Of two lists, another reader might follow the one that was not checked.
    if (found > 1)
        reason = "is damaged: it has two lists of parts";
    else if (found == 0)
        reason = "ends in the middle of its data: the list of its parts is missing";
    return found == 1;
}

bool ZipPackage::readDirectory(const Directory& directory, std::string& reason)
{
    if (directory.entries > kMaxPackageEntries) {
        reason = "holds more parts than allowed";
        return false;
    }
    std::uint64_t at = directory.at;
    for (std::uint64_t i = 0; i < directory.entries; ++i) {
        if (!readEntry(at, directory.at + directory.bytes, reason))
            return false;
        if (!m_byName.try_emplace(lowered(m_entries.back().name), m_entries.size() - 1).second) {
            reason = "is damaged: it holds a part twice";
            return false;
        }
    }
    return true;
}

bool ZipPackage::readEntry(std::uint64_t& at, std::uint64_t end, std::string& reason)
{
    reason = kDamaged;
    if (end - at < kDirectoryEntryBytes || littleEndian32(m_data + at) != kDirectoryEntry)
        return false;
    const std::uint8_t* head = m_data + at;
    const std::size_t nameBytes = littleEndian16(head + 28);
    const std::size_t extraBytes = littleEndian16(head + 30);
    const std::size_t commentBytes = littleEndian16(head + 32);
    if (end - at - kDirectoryEntryBytes < nameBytes + extraBytes + commentBytes)
        return false;
    Entry entry;
    entry.name.assign(reinterpret_cast<const char*>(head + kDirectoryEntryBytes), nameBytes);
    entry.method = littleEndian16(head + 10);
    entry.checksum = littleEndian32(head + 16);
    entry.packed_bytes = littleEndian32(head + 20);
    entry.inflated_bytes = littleEndian32(head + 24);
    entry.header_at = littleEndian32(head + 42);
    if (!readLargeSizes(head + kDirectoryEntryBytes + nameBytes, extraBytes, entry.inflated_bytes, entry.packed_bytes,
                        entry.header_at))
        return false;
    at += kDirectoryEntryBytes + nameBytes + extraBytes + commentBytes;

    if (littleEndian16(head + 8) & kEncryptedFlag)
        reason = "is encrypted";
    else if (entry.method != kStored && entry.method != kDeflated)
        reason = "is packed by a method that cannot be read";
    else if (entry.method == kStored && entry.packed_bytes != entry.inflated_bytes)
        reason = kDamaged;
    else if (entry.header_at > m_size || m_size - entry.header_at < kLocalHeaderBytes ||
             entry.packed_bytes > m_size - entry.header_at - kLocalHeaderBytes)
        reason = "has a part that reaches beyond its end";
    else
        reason.clear();
    m_entries.push_back(std::move(entry));
    return reason.empty();
}

std::string ZipPackage::checkBounds() const
{
    std::uint64_t total = 0;
    for (const Entry& entry : m_entries) {
        const bool isSuspicious = entry.inflated_bytes > kHarmlessInflatedBytes &&
                                  entry.inflated_bytes / kMaxInflationRatio > entry.packed_bytes;
        // Entries may share their bytes: what each of them claims must make sense by itself.
        if (entry.packed_bytes > 2 * entry.inflated_bytes + kPackingOverheadBytes)
            return kDamaged;
        if (isSuspicious || entry.inflated_bytes > kMaxInflatedBytes - total)
            return "unpacks to more data than allowed";
        total += entry.inflated_bytes;
    }
    return {};
}

const ZipPackage::Entry* ZipPackage::find(std::string_view name) const
{
    const auto at = m_byName.find(lowered(name));
    return at == m_byName.end() ? nullptr : &m_entries[at->second];
}

std::string_view ZipPackage::packed(const Entry& entry) const
{
    const std::uint8_t* head = m_data + entry.header_at;
    if (littleEndian32(head) != kLocalHeader)
        return {};
    const std::uint64_t skipped =
        kLocalHeaderBytes + std::uint64_t{littleEndian16(head + 26)} + littleEndian16(head + 28);
    const std::uint64_t rest = m_size - entry.header_at;
    if (skipped > rest || entry.packed_bytes > rest - skipped)
        return {};
    return {reinterpret_cast<const char*>(head + skipped), static_cast<std::size_t>(entry.packed_bytes)};
}

std::string ZipPackage::read(const Entry& entry, const std::function<bool(std::string_view)>& use) const
{
    const std::string_view bytes = packed(entry);
    if (bytes.size() != entry.packed_bytes)
        return "cannot be found";
    if (entry.method == kDeflated)
        return inflate(bytes, entry.inflated_bytes, use);
    for (std::size_t at = 0; at < bytes.size(); at += kPieceBytes)
        if (!use(bytes.substr(at, kPieceBytes)))
            return {};
    return {};
}

} // namespace ov3d::renderer
