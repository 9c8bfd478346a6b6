#pragma once

#include <QByteArray>

#include <bit>
#include <cstring>
#include <type_traits>

namespace ov3d::models {

static_assert(std::endian::native == std::endian::little, "the writers store numbers as they stand in memory");

/// Appends a number in little-endian order.
template <typename Number> void put(QByteArray& bytes, std::type_identity_t<Number> value)
{
    char raw[sizeof(Number)];
    std::memcpy(raw, &value, sizeof raw);
    bytes.append(raw, sizeof raw);
}

/// Overwrites a number that has been appended before.
template <typename Number> void patch(QByteArray& bytes, int at, std::type_identity_t<Number> value)
{
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

} // namespace ov3d::models
