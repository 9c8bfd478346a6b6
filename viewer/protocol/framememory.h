#pragma once

#include <cstddef>
#include <cstdint>

namespace ov3d::protocol {

/// Memory that session and renderer share for one picture. Made by the session, sealed against shrinking and growing,
/// so that a broken renderer cannot take pages away under the host. Owns the descriptor and the mapping.
class FrameMemory
{
public:
    FrameMemory() = default;
    FrameMemory(FrameMemory&& other) noexcept;
    FrameMemory& operator=(FrameMemory&& other) noexcept;
    FrameMemory(const FrameMemory&) = delete;
    FrameMemory& operator=(const FrameMemory&) = delete;
    ~FrameMemory();

    /// @return closed memory (isOpen() false) when the system refuses.
    static FrameMemory create(std::size_t bytes);

    /// Maps memory that the session made; takes ownership of the descriptor.
    static FrameMemory map(int descriptor, std::size_t bytes);

    [[nodiscard]] bool isOpen() const { return m_data != nullptr; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    [[nodiscard]] std::uint8_t* data() const { return m_data; }
    [[nodiscard]] std::size_t size() const { return m_size; }

private:
    void release();

    int m_descriptor = -1;
    std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace ov3d::protocol
