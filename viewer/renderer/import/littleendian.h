#pragma once

#include <cstdint>

namespace ov3d::renderer {

inline std::uint16_t littleEndian16(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t littleEndian32(const std::uint8_t* bytes)
{
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

inline std::uint64_t littleEndian64(const std::uint8_t* bytes)
{
    return littleEndian32(bytes) | std::uint64_t{littleEndian32(bytes + 4)} << 32;
}

} // namespace ov3d::renderer
