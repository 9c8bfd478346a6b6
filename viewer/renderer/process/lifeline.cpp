#include "viewer/renderer/process/lifeline.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace ov3d::renderer {
namespace {

constexpr int kParentCheckIntervalMs = 500;

bool isGone(pid_t parent, bool isOurParent)
{
    if (parent == 0)
        return false;
    // An orphan is adopted at once, while the id of a process that nobody waits for lives on.
    if (isOurParent && ::getppid() != parent)
        return true;
    return ::kill(parent, 0) != 0 && errno == ESRCH;
}

void watch(int socket, pid_t parent)
{
    const bool isOurParent = parent != 0 && ::getppid() == parent;
    while (!isGone(parent, isOurParent)) {
        // Incoming data is the main thread's: only the end of the connection wakes us.
        pollfd watched{socket, POLLRDHUP, 0};
        const int ready = ::poll(&watched, 1, kParentCheckIntervalMs);
        if (ready > 0 && (watched.revents & (POLLHUP | POLLRDHUP | POLLERR | POLLNVAL)) != 0)
            break;
        if (ready < 0 && errno != EINTR)
            break;
    }
    ::_exit(0);
}

} // namespace

void watchLifeline(int socket, pid_t parent)
{
    std::thread(watch, socket, parent).detach();
}

} // namespace ov3d::renderer
