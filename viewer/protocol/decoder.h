#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace ov3d::protocol {

/// Takes values out of a message that may be garbage. Every length is checked against the bytes that are left before
/// anything is allocated; after the first failure all further calls fail and leave their argument alone.
class Decoder
{
public:
    Decoder(const std::uint8_t* bytes, std::size_t size)
        : m_next(bytes)
        , m_left(size)
    {
    }

    template <typename T>
    requires(std::is_arithmetic_v<T>) void get(T& value) { copy(&value, sizeof value); }

    /// Anything but 0 and 1 is garbage.
    void get(bool& value);

    template <typename T, std::size_t N> void get(T (&values)[N])
    {
        static_assert(std::is_arithmetic_v<T>);
        copy(values, sizeof values);
    }

    void get(std::string& text);
    void get(std::vector<std::string>& texts);
    void copy(void* target, std::size_t size);
    void fail() { m_good = false; }

    /// @return whether everything was read and nothing is left over.
    [[nodiscard]] bool isComplete() const { return m_good && m_left == 0; }

private:
    const std::uint8_t* m_next;
    std::size_t m_left;
    bool m_good = true;
};

} // namespace ov3d::protocol
