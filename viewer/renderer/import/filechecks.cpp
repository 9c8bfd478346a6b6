#include "viewer/renderer/import/filechecks.h"

#include "src/render/viewcontext.h"
#include "viewer/renderer/import/fbxcheck.h"
#include "viewer/renderer/import/littleendian.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

namespace ov3d::renderer {
namespace {

constexpr std::uint32_t kGlbMagic = 0x46546C67;       // "glTF"
constexpr std::uint32_t kGlbJsonChunk = 0x4E4F534A;   // "JSON"
constexpr std::uint32_t kGlbBinaryChunk = 0x004E4942; // "BIN"
constexpr std::size_t kGlbHeaderBytes = 12;
constexpr std::size_t kGlbChunkHeaderBytes = 8;
constexpr std::size_t kStlHeaderBytes = 84;
constexpr std::size_t kStlFacetBytes = 50;

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

std::string checkGlbChunks(const std::uint8_t* data, std::size_t length)
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
    // Other versions than these may keep something else in the place of the length.
    if ((version == 1 || version == 2) && length > size)
        return {endsEarly(size, length), size};
    if (version != 2)
        return {"is of GLB version " + std::to_string(version) + ", which cannot be read", size};
    if (length < kGlbHeaderBytes)
        return {"gives a wrong length in its header", size};
    return {checkGlbChunks(data, length), length};
}

bool beginsWithSolid(const std::uint8_t* data, std::size_t size)
{
    std::size_t at = 0;
    while (at < size && std::isspace(data[at]))
        ++at;
    return size - at >= 5 && ::strncasecmp(reinterpret_cast<const char*>(data + at), "solid", 5) == 0;
}

std::uint64_t stlFacets(const std::uint8_t* data, std::size_t size)
{
    return size >= kStlHeaderBytes ? littleEndian32(data + kStlHeaderBytes - 4) : 0;
}

FileCheck checkStl(const std::uint8_t* data, std::size_t size)
{
    if (isStlText(data, size))
        return {"", size};
    if (size < kStlHeaderBytes)
        return {"ends in the middle of its header", size};
    const std::uint64_t facets = stlFacets(data, size);
    const std::uint64_t expected = kStlHeaderBytes + facets * kStlFacetBytes;
    if (expected > size)
        return {endsEarly(size, expected), size};
    if (facets == 0)
        return {"holds nothing that can be drawn", size};
    return {"", static_cast<std::size_t>(expected)};
}

} // namespace

bool isStlText(const std::uint8_t* data, std::size_t size)
{
    // Some binary files begin with the word of the text form. Letters in the place of the number of facets make one
    // that no file has room for.
    const std::uint64_t facets = stlFacets(data, size);
    if (facets > 0 && kStlHeaderBytes + facets * kStlFacetBytes <= size)
        return false;
    const std::size_t mark = size >= 3 && std::memcmp(data, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
    return beginsWithSolid(data + mark, size - mark);
}

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

GltfParts gltfParts(std::int32_t model_format, const std::uint8_t* data, std::size_t size)
{
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    if (model_format == kFormatGltf)
        return {all.substr(0, 3) == "\xEF\xBB\xBF" ? all.substr(3) : all, {}};
    GltfParts parts;
    for (std::size_t at = kGlbHeaderBytes; size - at >= kGlbChunkHeaderBytes;) {
        const std::size_t length = littleEndian32(data + at);
        const std::uint32_t type = littleEndian32(data + at + 4);
        at += kGlbChunkHeaderBytes;
        if (type == kGlbJsonChunk && parts.json.empty())
            parts.json = all.substr(at, length);
        else if (type == kGlbBinaryChunk && parts.binary.empty())
            parts.binary = all.substr(at, length);
        at += std::min(length, size - at);
    }
    return parts;
}

std::string makeGlb(const GltfParts& parts)
{
    std::string glb;
    const auto put32 = [&glb](std::uint64_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            glb += static_cast<char>(value >> shift & 0xFF);
    };
    const auto padding = [](std::size_t bytes) { return (4 - bytes % 4) % 4; };
    const std::size_t json = parts.json.size() + padding(parts.json.size());
    const std::size_t binary = parts.binary.size() + padding(parts.binary.size());
    glb.reserve(kGlbHeaderBytes + 2 * kGlbChunkHeaderBytes + json + binary);
    put32(kGlbMagic);
    put32(2);
    put32(kGlbHeaderBytes + kGlbChunkHeaderBytes + json + (binary > 0 ? kGlbChunkHeaderBytes + binary : 0));
    put32(json);
    put32(kGlbJsonChunk);
    glb.append(parts.json).append(json - parts.json.size(), ' ');
    if (binary > 0) {
        put32(binary);
        put32(kGlbBinaryChunk);
        glb.append(parts.binary).append(binary - parts.binary.size(), '\0');
    }
    return glb;
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
    case kFormatFbx:
        return {checkFbx(data, size), size};
    default:
        return {"", size};
    }
}

} // namespace ov3d::renderer
