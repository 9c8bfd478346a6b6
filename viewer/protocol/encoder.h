#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace ov3d::protocol {

/// Appends values to a message: numbers as they lie in memory (both ends run on one little-endian machine), texts and
/// lists with their length before them.
class Encoder
{
public:
    template <typename T>
    requires(std::is_arithmetic_v<T> || std::is_enum_v<T>) void put(T value) { append(&value, sizeof value); }

    void put(bool value) { put(static_cast<std::uint8_t>(value ? 1 : 0)); }

    template <typename T, std::size_t N> void put(const T (&values)[N])
    {
        static_assert(std::is_arithmetic_v<T>);
        append(values, sizeof values);
    }

    void put(const std::string& text);
    void put(const std::vector<std::string>& texts);
    void append(const void* bytes, std::size_t size);

    [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(m_bytes); }

private:
    std::vector<std::uint8_t> m_bytes;
};

} // namespace ov3d::protocol
