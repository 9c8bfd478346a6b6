#include "viewer/protocol/channel.h"

#include "viewer/protocol/messages.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace ov3d::protocol {

namespace {

using Clock = std::chrono::steady_clock;

// A whole message must fit into the socket's buffer, with room for the kernel's bookkeeping and a second one.
constexpr int kSocketBufferBytes = 4 * static_cast<int>(kMaxMessageBytes);

/// Takes every descriptor out of a received message: the first is kept, any other is closed.
int takeDescriptor(msghdr& header)
{
    int kept = -1;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
            if (kept < 0)
                kept = descriptor;
            else
                ::close(descriptor);
        }
    }
    return kept;
}

int remainingMilliseconds(std::chrono::milliseconds timeout, Clock::time_point start)
{
    if (timeout.count() < 0)
        return -1;
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    const auto left = std::max<std::chrono::milliseconds::rep>(0, (timeout - spent).count());
    return static_cast<int>(std::min<std::chrono::milliseconds::rep>(left, INT_MAX));
}

} // namespace

Channel::Channel(int descriptor)
    : m_descriptor(descriptor)
{
}

Channel::Channel(Channel&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
{
}

Channel& Channel::operator=(Channel&& other) noexcept
{
    if (this != &other) {
        close();
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

Channel::~Channel()
{
    close();
}

void Channel::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

bool Channel::send(const std::vector<std::uint8_t>& message, int attached)
{
    if (!isOpen() || message.empty() || message.size() > kMaxMessageBytes)
        return false;
    iovec part = {const_cast<std::uint8_t*>(message.data()), message.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (attached >= 0) {
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        cmsghdr* rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(rights), &attached, sizeof attached);
    }
    ssize_t sent = -1;
    do
        sent = sendmsg(m_descriptor, &header, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

Channel::Outcome Channel::receive(std::vector<std::uint8_t>& message, int& attached, std::chrono::milliseconds timeout)
{
    attached = -1;
    if (!isOpen())
        return Outcome::closed;
    const Clock::time_point start = Clock::now();
    for (;;) {
        pollfd waiting = {m_descriptor, POLLIN, 0};
        const int ready = poll(&waiting, 1, remainingMilliseconds(timeout, start));
        if (ready == 0)
            return Outcome::timeout;
        if (ready < 0 && errno != EINTR)
            return Outcome::closed;
        if (ready <= 0)
            continue;

        message.resize(kMaxMessageBytes);
        iovec part = {message.data(), message.size()};
        alignas(cmsghdr) char control[CMSG_SPACE(8 * sizeof(int))] = {};
        msghdr header = {};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        const ssize_t received = recvmsg(m_descriptor, &header, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
        if (received < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK))
            continue;
        if (received >= 0)
            attached = takeDescriptor(header);
        if (received <= 0 || (header.msg_flags & MSG_TRUNC)) {
            if (attached >= 0)
                ::close(std::exchange(attached, -1));
            return Outcome::closed;
        }
        message.resize(static_cast<std::size_t>(received));
        return Outcome::message;
    }
}

ChannelPair makeChannelPair()
{
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return {};
    for (const int end : ends) {
        // The system may grant less than asked for; its default holds a message of the greatest length as well.
        setsockopt(end, SOL_SOCKET, SO_SNDBUF, &kSocketBufferBytes, sizeof kSocketBufferBytes);
    }
    return {Channel(ends[0]), Channel(ends[1])};
}

} // namespace ov3d::protocol
