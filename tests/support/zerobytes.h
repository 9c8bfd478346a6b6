#pragma once

#include <algorithm>
#include <cstddef>

/// Whether all bytes of this memory are 0.
inline bool isZero(const void* bytes, std::size_t size)
{
    const auto* begin = static_cast<const unsigned char*>(bytes);
    return std::all_of(begin, begin + size, [](unsigned char byte) { return byte == 0; });
}
