#pragma once

#include <cstddef>
#include <cstdint>

/// The pixel memory that a viewer run writes its frames into.
///
/// The viewer keeps the address for as long as it likes, so the addresses stay valid for the life of the process. Eight
/// bytes a pixel are promised; behind them generous address space is reserved without being committed, so that a viewer
/// that follows an enlarged item stays inside it.
class FrameBuffer
{
public:
    /// Reserves memory for a run that begins with the given size in pixels (negative sizes count as 0).
    /// Afterwards isNull() tells whether the system refused.
    static FrameBuffer reserve(int width, int height);

    [[nodiscard]] bool isNull() const { return m_data == nullptr; }
    [[nodiscard]] unsigned char* data() const { return m_data; }
    [[nodiscard]] std::size_t capacity() const { return m_capacity; }

    /// Whether an RGB frame of this size, rows padded to four bytes, lies inside the memory.
    [[nodiscard]] bool holds(int width, int height) const;

    /// Gives the pages back to the system. The addresses stay valid and read as zero.
    void discardPages();

private:
    unsigned char* m_data = nullptr;
    std::size_t m_capacity = 0;
    bool m_isMapping = false;
};
