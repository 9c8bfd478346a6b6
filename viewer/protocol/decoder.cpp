#include "viewer/protocol/decoder.h"

#include <cstring>

namespace ov3d::protocol {

void Decoder::copy(void* target, std::size_t size)
{
    if (!m_good || size > m_left) {
        m_good = false;
        return;
    }
    if (size == 0)
        return;
    std::memcpy(target, m_next, size);
    m_next += size;
    m_left -= size;
}

void Decoder::get(bool& value)
{
    std::uint8_t byte = 0;
    get(byte);
    if (byte > 1)
        m_good = false;
    if (m_good)
        value = byte == 1;
}

void Decoder::get(std::string& text)
{
    std::uint32_t size = 0;
    get(size);
    if (!m_good || size > m_left) {
        m_good = false;
        return;
    }
    text.assign(reinterpret_cast<const char*>(m_next), size);
    m_next += size;
    m_left -= size;
}

void Decoder::get(std::vector<std::string>& texts)
{
    std::uint32_t count = 0;
    get(count);
    // Each text takes at least its length field, so a count that cannot be true costs no memory.
    if (!m_good || count > m_left / sizeof(std::uint32_t)) {
        m_good = false;
        return;
    }
    texts.clear();
    texts.reserve(count);
    for (std::uint32_t i = 0; i < count && m_good; ++i) {
        std::string text;
        get(text);
        texts.push_back(std::move(text));
    }
}

} // namespace ov3d::protocol
