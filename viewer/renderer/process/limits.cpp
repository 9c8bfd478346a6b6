#include "viewer/renderer/process/limits.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ov3d::renderer {
namespace {

constexpr rlim_t kMegabyte = 1024 * 1024;

rlim_t allowedBytes()
{
    if (const char* wish = std::getenv("OV3D_RENDERER_MEMORY_MB"))
        if (const long long megabytes = std::atoll(wish); megabytes > 0)
            return static_cast<rlim_t>(megabytes) * kMegabyte;
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageBytes = ::sysconf(_SC_PAGESIZE);
    return pages > 0 && pageBytes > 0 ? static_cast<rlim_t>(pages) * static_cast<rlim_t>(pageBytes) / 2 : RLIM_INFINITY;
}

void limit(int resource, rlim_t bytes)
{
    rlimit current = {};
    if (::getrlimit(static_cast<__rlimit_resource>(resource), &current) != 0)
        return;
    current.rlim_cur = bytes < current.rlim_max ? bytes : current.rlim_max;
    ::setrlimit(static_cast<__rlimit_resource>(resource), &current);
}

void offerToOutOfMemoryKiller()
{
    const int file = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    [[maybe_unused]] const ssize_t written = ::write(file, "500", 3);
    ::close(file);
}

} // namespace

void limitProcess()
{
    limit(RLIMIT_CORE, 0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // Private writable memory: not the address space, of which graphics drivers reserve a lot. Sanitizers map terabytes
    // of it.
    limit(RLIMIT_DATA, allowedBytes());
#else
    (void)allowedBytes;
#endif
    offerToOutOfMemoryKiller();
}

void silenceOutput()
{
    const char* log = std::getenv("OV3D_RENDERER_LOG");
    int file = log && *log ? ::open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600) : -1;
    if (file < 0)
        file = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    ::dup2(file, STDOUT_FILENO);
    ::dup2(file, STDERR_FILENO);
    if (file > STDERR_FILENO)
        ::close(file);
}

} // namespace ov3d::renderer
