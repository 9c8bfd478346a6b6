#include "viewer/renderer/import/fbxcheck.h"

#include "viewer/renderer/import/fbxmodels.h"
#include "viewer/renderer/import/filechecks.h"
#include "viewer/renderer/import/littleendian.h"

#include <cstring>
#include <string_view>
#include <vector>

namespace ov3d::renderer {
namespace {

constexpr std::string_view kSignature("Kaydara FBX Binary  \0", 21);
constexpr std::size_t kVersionAt = 23;
constexpr std::size_t kHeaderBytes = 27;
constexpr std::uint32_t kWideVersion = 7500; ///< from here on, sizes have 64 bits
constexpr std::uint64_t kArrayHeadBytes = 12;
/// zlib cannot do better.
constexpr std::uint64_t kMaxRatio = 1032;

const char* const kDamaged = "is damaged: the sizes of its records do not fit";

/// Bytes of an element of an array property, 0 for anything else.
unsigned elementBytes(std::uint8_t type)
{
    switch (type) {
    case 'f':
    case 'i':
        return 4;
    case 'd':
    case 'l':
        return 8;
    case 'b':
    case 'c':
        return 1;
    default:
        return 0;
    }
}

/// Bytes of a plain property, 0 for anything else.
unsigned plainBytes(std::uint8_t type)
{
    switch (type) {
    case 'B':
    case 'C':
        return 1;
    case 'Y':
        return 2;
    case 'F':
    case 'I':
        return 4;
    case 'D':
    case 'L':
        return 8;
    default:
        return 0;
    }
}

class Walker
{
public:
    Walker(const std::uint8_t* data, std::size_t size)
        : m_data(data)
        , m_size(size)
        , m_wide(littleEndian32(data + kVersionAt) >= kWideVersion)
    {
    }

    std::string run();

private:
    struct Record
    {
        std::uint64_t end = 0;
        std::uint64_t properties = 0;
        std::uint64_t property_bytes = 0;
        std::uint64_t content_at = 0; ///< behind the name
        std::string_view name;
    };

    [[nodiscard]] std::uint64_t headBytes() const { return m_wide ? 25 : 13; }
    bool readHead(std::uint64_t at, std::uint64_t end, Record& record);
    bool checkProperties(const Record& record);
    bool checkArray(std::uint64_t& at, std::uint64_t end, unsigned element);
    void noteModels(const Record& record, std::string_view list);
    bool fail(const std::string& reason);

    const std::uint8_t* m_data;
    std::uint64_t m_size;
    bool m_wide;
    std::uint64_t m_arrayBytes = 0;
    FbxModels m_models;
    std::string m_reason;
};

bool Walker::fail(const std::string& reason)
{
    m_reason = reason;
    return false;
}

bool Walker::readHead(std::uint64_t at, std::uint64_t end, Record& record)
{
    if (end - at < headBytes())
        return fail(end == m_size ? "ends in the middle of its data" : kDamaged);
    const std::uint8_t* head = m_data + at;
    record.end = m_wide ? littleEndian64(head) : littleEndian32(head);
    record.properties = m_wide ? littleEndian64(head + 8) : littleEndian32(head + 4);
    record.property_bytes = m_wide ? littleEndian64(head + 16) : littleEndian32(head + 8);
    const std::uint64_t nameBytes = head[headBytes() - 1];
    if (record.end == 0)
        return true; // the record that closes a list
    if (record.end > m_size)
        return fail(endsEarly(m_size, record.end));
    record.content_at = at + headBytes() + nameBytes;
    if (record.end > end || record.content_at > record.end || record.property_bytes > record.end - record.content_at)
        return fail(kDamaged);
    record.name = {reinterpret_cast<const char*>(head + headBytes()), nameBytes};
    return true;
}

bool Walker::checkArray(std::uint64_t& at, std::uint64_t end, unsigned element)
{
    if (end - at < kArrayHeadBytes)
        return fail(kDamaged);
    const std::uint64_t bytes = std::uint64_t{littleEndian32(m_data + at)} * element;
    const std::uint32_t encoding = littleEndian32(m_data + at + 4);
    const std::uint64_t packed = littleEndian32(m_data + at + 8);
    at += kArrayHeadBytes;
    if (packed > end - at)
        return fail(kDamaged);
    at += packed;
    if (encoding > 1 || (encoding == 0 && packed != bytes))
        return fail(kDamaged);
    if (encoding == 1 && bytes / kMaxRatio > packed)
        return fail("is damaged: an array claims more than its data can hold");
    m_arrayBytes += bytes;
    return m_arrayBytes <= kMaxFbxArrayBytes || fail("unpacks to more data than allowed");
}

bool Walker::checkProperties(const Record& record)
{
    std::uint64_t at = record.content_at;
    const std::uint64_t end = at + record.property_bytes;
    if (record.properties > record.property_bytes)
        return fail(kDamaged);
    for (std::uint64_t i = 0; i < record.properties; ++i) {
        if (at >= end)
            return fail(kDamaged);
        const std::uint8_t type = m_data[at++];
        if (const unsigned element = elementBytes(type); element != 0) {
            if (!checkArray(at, end, element))
                return false;
            continue;
        }
        std::uint64_t bytes = plainBytes(type);
        if (type == 'S' || type == 'R') {
            if (end - at < 4)
                return fail(kDamaged);
            bytes = littleEndian32(m_data + at);
            at += 4;
        } else if (bytes == 0) {
            return fail("is damaged: a property is of an unknown kind");
        }
        if (bytes > end - at)
            return fail(kDamaged);
        at += bytes;
    }
    return at == end || fail(kDamaged);
}

/// Keeps in mind which models stand in which. Properties that are of another kind than these are for readers to refuse.
void Walker::noteModels(const Record& record, std::string_view list)
{
    std::uint64_t at = record.content_at;
    const std::uint64_t end = at + record.property_bytes;
    const auto longNumber = [&](std::int64_t& number) {
        if (end - at < 9 || m_data[at] != 'L')
            return false;
        number = static_cast<std::int64_t>(littleEndian64(m_data + at + 1));
        at += 9;
        return true;
    };
    const auto text = [&](std::string_view& word) {
        if (end - at < 5 || m_data[at] != 'S' || littleEndian32(m_data + at + 1) > end - at - 5)
            return false;
        word = {reinterpret_cast<const char*>(m_data + at + 5), littleEndian32(m_data + at + 1)};
        at += 5 + word.size();
        return true;
    };
    std::int64_t child = 0;
    std::int64_t parent = 0;
    std::string_view kind, property;
    if (list == "Objects" && record.name == "Model") {
        if (longNumber(child))
            m_models.addModel(child);
    } else if (list == "Connections" && record.name == "C" && text(kind) && kind != "PP" && longNumber(child) &&
               longNumber(parent)) {
        // What drives a property of a model does not stand in the model.
        if (kind != "OP" || !text(property) || property.empty())
            m_models.addConnection(child, parent);
    }
}

std::string Walker::run()
{
    std::vector<std::uint64_t> ends{m_size};
    std::string_view list; // the record of the outermost level that we are in
    std::uint64_t at = kHeaderBytes;
    for (std::size_t records = 0; !ends.empty(); ++records) {
        if (at == ends.back() && ends.size() > 1) {
            ends.pop_back();
            continue;
        }
        Record record;
        if (!readHead(at, ends.back(), record))
            return m_reason;
        if (record.end == 0) {
            // What follows the closing record of the outermost list belongs to nobody.
            if (ends.size() == 1)
                break;
            at = ends.back();
            ends.pop_back();
            continue;
        }
        if (records > kMaxFbxRecords)
            return "holds more records than allowed";
        if (!checkProperties(record))
            return m_reason;
        if (ends.size() == 1)
            list = record.name;
        else if (ends.size() == 2)
            noteModels(record, list);
        at = record.content_at + record.property_bytes;
        if (at < record.end) {
            if (ends.size() >= kMaxFbxDepth)
                return "is nested too deeply";
            ends.push_back(record.end);
        }
    }
    return m_models.check();
}

} // namespace

std::string checkFbx(const std::uint8_t* data, std::size_t size)
{
    const auto begins = [&](std::string_view text) {
        return size >= text.size() && std::memcmp(data, text.data(), text.size()) == 0;
    };
    if (!begins(kSignature))
        return begins(";") ? "is FBX in its text form; only the binary form can be read" : "is no FBX file";
    if (size < kHeaderBytes)
        return "ends in the middle of its header";
    return Walker(data, size).run();
}

} // namespace ov3d::renderer
