#include "viewer/protocol/encoder.h"

namespace ov3d::protocol {

void Encoder::put(const std::string& text)
{
    put(static_cast<std::uint32_t>(text.size()));
    append(text.data(), text.size());
}

void Encoder::put(const std::vector<std::string>& texts)
{
    put(static_cast<std::uint32_t>(texts.size()));
    for (const std::string& text : texts)
        put(text);
}

void Encoder::append(const void* bytes, std::size_t size)
{
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    m_bytes.insert(m_bytes.end(), first, first + size);
}

} // namespace ov3d::protocol
