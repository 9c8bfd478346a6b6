#pragma once

/// Acquire and release access to plain fields that two threads hand back and forth. The records stay plain data.
///
/// C++17, so that a viewer may include it beside src/render/viewcontext.h; the compiler's own operations stand in for
/// std::atomic_ref, which begins with C++20. Fields are numbers of at most eight bytes, each at an address that is a
/// multiple of its size. Any thread; never fails.

#include <type_traits>

/// Reads a field, and with it all that the other thread wrote before its storeRelease().
template <typename T> [[nodiscard]] inline T loadAcquire(const T& field)
{
    static_assert(std::is_arithmetic_v<T> && __atomic_always_lock_free(sizeof(T), nullptr));
    T value;
    __atomic_load(&field, &value, __ATOMIC_ACQUIRE);
    return value;
}

/// Writes a field after all that this thread wrote before.
template <typename T> inline void storeRelease(T& field, T value)
{
    static_assert(std::is_arithmetic_v<T> && __atomic_always_lock_free(sizeof(T), nullptr));
    __atomic_store(&field, &value, __ATOMIC_RELEASE);
}
