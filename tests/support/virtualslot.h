#pragma once

#include <cstddef>
#include <cstring>

/// Byte offset of a virtual function in the primary table: in the Itanium ABI a pointer to it holds one more than that.
template <typename Function> std::ptrdiff_t slotOf(Function function)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return words[0] - 1;
}
