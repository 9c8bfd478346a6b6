#include "viewer/session/wakeup.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>

namespace ov3d::session {

namespace {

// A process out of descriptors gets no event object; the session then looks by itself this often.
constexpr std::chrono::milliseconds kWithoutDescriptor{20};

} // namespace

Wakeup::Wakeup()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

Wakeup::~Wakeup()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void Wakeup::wake()
{
    const std::uint64_t one = 1;
    // The only failure is a counter that is full, and then the sleeper wakes anyway.
    if (m_descriptor >= 0) [[maybe_unused]]
        const ssize_t ignored = ::write(m_descriptor, &one, sizeof one);
}

void Wakeup::wait(int otherDescriptor, std::chrono::milliseconds timeout)
{
    if (m_descriptor < 0)
        timeout = timeout.count() < 0 ? kWithoutDescriptor : std::min(timeout, kWithoutDescriptor);
    pollfd waiting[2] = {{m_descriptor, POLLIN, 0}, {otherDescriptor, POLLIN, 0}};
    const auto milliseconds = std::min<std::chrono::milliseconds::rep>(timeout.count(), INT_MAX);
    if (poll(waiting, 2, milliseconds < 0 ? -1 : static_cast<int>(milliseconds)) <= 0)
        return;
    std::uint64_t count = 0;
    if (waiting[0].revents & POLLIN) [[maybe_unused]]
        const ssize_t ignored = ::read(m_descriptor, &count, sizeof count);
}

} // namespace ov3d::session
