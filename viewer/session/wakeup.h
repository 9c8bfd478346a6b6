#pragma once

#include <chrono>

namespace ov3d::session {

/// Lets any thread end the wait of one thread. A wake that comes before the wait is not lost.
class Wakeup
{
public:
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    void wake();

    /// Waits until woken, until the other descriptor (or -1) has something to read or has ended, or for the given time;
    /// a negative time waits for ever.
    void wait(int otherDescriptor, std::chrono::milliseconds timeout);

private:
    int m_descriptor = -1;
};

} // namespace ov3d::session
