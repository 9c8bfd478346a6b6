#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ov3d::protocol {

/// One end of the socket between a session and its renderer (AF_UNIX, SOCK_SEQPACKET: a message arrives whole or not at
/// all). Owns the descriptor. One thread sends and one thread receives at a time.
class Channel
{
public:
    Channel() = default;
    explicit Channel(int descriptor);
    Channel(Channel&& other) noexcept;
    Channel& operator=(Channel&& other) noexcept;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel();

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    void close();

    /// Sends one message, with a descriptor beside it unless that is -1 (the caller keeps its own).
    /// @return false when the other end has gone; never raises SIGPIPE.
    bool send(const std::vector<std::uint8_t>& message, int attached = -1);

    enum class Outcome
    {
        message,
        timeout,
        closed,
    };

    /// Receives one message. `attached` receives a descriptor that came with it (owned by the caller), or -1.
    /// A negative timeout waits for ever. A message longer than kMaxMessageBytes counts as closed.
    Outcome receive(std::vector<std::uint8_t>& message, int& attached, std::chrono::milliseconds timeout);

private:
    int m_descriptor = -1;
};

/// A connected pair of channels; both closed when the system refuses. The first stays here (close-on-exec).
struct ChannelPair
{
    Channel here;
    Channel there;
};
ChannelPair makeChannelPair();

} // namespace ov3d::protocol
