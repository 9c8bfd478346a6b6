#include "viewer/renderer/import/gltfbuffers.h"

#include <sys/stat.h>

namespace ov3d::renderer {
namespace {

int base64Value(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

} // namespace

std::string decodeBase64(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = base64Value(c);
        if (value < 0)
            continue;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFFFFU;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFFU);
        }
    }
    return bytes;
}

GltfBuffers::GltfBuffers(JsonValue buffers, std::string_view binary, const SideFiles& sideFiles)
    : m_binary(binary)
    , m_sideFiles(sideFiles)
{
    if (buffers.isArray())
        for (JsonValue buffer = buffers.first(); buffer; buffer = buffer.next())
            m_buffers.push_back(buffer);
}

std::string_view GltfBuffers::at(std::uint64_t index)
{
    const JsonValue uri = index < m_buffers.size() ? m_buffers[index]["uri"] : JsonValue();
    if (!uri)
        return index == 0 ? m_binary : std::string_view();
    const auto [known, isNew] = m_loaded.try_emplace(index);
    Buffer& loaded = known->second;
    if (isNew) {
        const std::string_view raw = uri.rawText();
        const std::size_t comma = raw.find(',');
        std::string reason;
        if (raw.substr(0, 5) == "data:") {
            if (comma != std::string_view::npos)
                loaded.decoded = decodeBase64(raw.substr(comma + 1));
        } else if (const auto found = m_sideFiles.find(uri.text())) {
            (void)loaded.file.open(found->absolute, reason);
        }
    }
    if (loaded.file.isOpen())
        return {reinterpret_cast<const char*>(loaded.file.data()), loaded.file.size()};
    return loaded.decoded;
}

std::optional<std::uint64_t> GltfBuffers::fileBytes(JsonValue address) const
{
    struct stat status = {};
    const auto found = m_sideFiles.find(address.text());
    if (!found || ::stat(found->absolute.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

} // namespace ov3d::renderer
