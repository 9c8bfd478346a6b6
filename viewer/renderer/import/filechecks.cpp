#include "viewer/renderer/import/filechecks.h"

#include "src/render/viewcontext.h"

#include <cctype>
#include <cstring>
#include <string_view>

namespace ov3d::renderer {
namespace {

constexpr std::uint32_t kGlbMagic = 0x46546C67;     // "glTF"
constexpr std::uint32_t kGlbJsonChunk = 0x4E4F534A; // "JSON"
constexpr std::size_t kGlbHeaderBytes = 12;
constexpr std::size_t kGlbChunkHeaderBytes = 8;
constexpr std::size_t kStlHeaderBytes = 84;
constexpr std::size_t kStlFacetBytes = 50;

std::uint32_t littleEndian32(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

std::string grouped(std::uint64_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, 1, ',');
    return digits;
}

bool isUtf16(const std::uint8_t* data, std::size_t size)
{
    const bool marked = size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
    // Without a mark: plain text has no zero bytes, UTF-16 of plain text has one in each pair.
    const bool unmarked = size >= 4 && ((data[0] == 0) != (data[1] == 0)) && (data[0] == 0) == (data[2] == 0) &&
                          (data[1] == 0) == (data[3] == 0);
    return marked || unmarked;
}

std::string checkJson(const std::uint8_t* data, std::size_t size)
{
    return nestsTooDeeply(reinterpret_cast<const char*>(data), size) ? "is nested too deeply" : "";
}

std::string checkGlb1(const std::uint8_t* data, std::size_t length)
{
    constexpr std::size_t header = kGlbHeaderBytes + kGlbChunkHeaderBytes;
    if (length < header)
        return "ends in the middle of its header";
    const std::uint64_t jsonLength = littleEndian32(data + kGlbHeaderBytes);
    if (header + jsonLength > length)
        return "has a part that reaches beyond its end";
    return checkJson(data + header, jsonLength);
}

std::string checkGlb2(const std::uint8_t* data, std::size_t length)
{
    bool first = true;
    for (std::size_t at = kGlbHeaderBytes; at < length; first = false) {
        if (length - at < kGlbChunkHeaderBytes)
            return first ? "ends in the middle of its header" : "";
        const std::uint64_t chunk = littleEndian32(data + at);
        const std::uint32_t type = littleEndian32(data + at + 4);
        at += kGlbChunkHeaderBytes;
        if (chunk > length - at)
            return "has a part that reaches beyond its end";
        if (first && type != kGlbJsonChunk)
            return "does not begin with a description of its content";
        if (first)
            if (std::string reason = checkJson(data + at, chunk); !reason.empty())
                return reason;
        at += chunk;
    }
    return first ? "is empty behind its header" : "";
}

FileCheck checkGlb(const std::uint8_t* data, std::size_t size)
{
    if (size < kGlbHeaderBytes)
        return {"ends in the middle of its header", size};
    if (littleEndian32(data) != kGlbMagic)
        return {"is no GLB file", size};
    const std::uint32_t version = littleEndian32(data + 4);
    const std::uint64_t length = littleEndian32(data + 8);
    if (version != 1 && version != 2)
        return {"is of GLB version " + std::to_string(version) + ", which cannot be read", size};
    if (length > size)
        return {endsEarly(size, length), size};
    if (length < kGlbHeaderBytes)
        return {"gives a wrong length in its header", size};
    return {version == 1 ? checkGlb1(data, length) : checkGlb2(data, length), length};
}

bool beginsWithSolid(const std::uint8_t* data, std::size_t size)
{
    std::size_t at = 0;
    while (at < size && std::isspace(data[at]))
        ++at;
    return size - at >= 5 && ::strncasecmp(reinterpret_cast<const char*>(data + at), "solid", 5) == 0;
}

FileCheck checkStl(const std::uint8_t* data, std::size_t size)
{
    const std::uint64_t facets = size >= kStlHeaderBytes ? littleEndian32(data + kStlHeaderBytes - 4) : 0;
    const std::uint64_t expected = kStlHeaderBytes + facets * kStlFacetBytes;
    // Some binary files begin with the word of the text form: the exact size tells them apart.
    if (expected == size && facets > 0)
        return {"", size};
    if (beginsWithSolid(data, size))
        return {"", size};
    if (size < kStlHeaderBytes)
        return {"ends in the middle of its header", size};
    if (expected > size)
        return {endsEarly(size, expected), size};
    if (facets == 0)
        return {"holds nothing that can be drawn", size};
    return {"", static_cast<std::size_t>(expected)};
}

} // namespace

std::string endsEarly(std::size_t size, std::uint64_t expected)
{
    return "ends in the middle of its data (at byte " + grouped(size) + " of " + grouped(expected) + ")";
}

bool nestsTooDeeply(const char* json, std::size_t size, int limit)
{
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < size; ++i) {
        const char c = json[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"')
            inString = true;
        else if ((c == '{' || c == '[') && ++depth > limit)
            return true;
        else if ((c == '}' || c == ']') && depth > 0)
            --depth;
    }
    return false;
}

FileCheck checkFile(std::int32_t model_format, const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return {"is empty", 0};
    switch (model_format) {
    case kFormatGlb:
        return checkGlb(data, size);
    case kFormatStl:
        return checkStl(data, size);
    case kFormatObj:
        return {isUtf16(data, size) ? "is written in UTF-16; only UTF-8 text can be read" : "", size};
    case kFormatGltf:
        if (isUtf16(data, size))
            return {"is written in UTF-16; only UTF-8 text can be read", size};
        return {checkJson(data, size), size};
    default:
        return {"", size};
    }
}

} // namespace ov3d::renderer
