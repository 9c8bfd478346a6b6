#pragma once

/// Acquire and release access to plain fields that two threads hand back and forth. The records stay plain data.

#include <atomic>

template <typename T> [[nodiscard]] inline T loadAcquire(const T& field)
{
    // atomic_ref needs a non-const object until C++26; the load itself never writes.
    return std::atomic_ref<T>(const_cast<T&>(field)).load(std::memory_order_acquire);
}

template <typename T> inline void storeRelease(T& field, T value)
{
    std::atomic_ref<T>(field).store(value, std::memory_order_release);
}
