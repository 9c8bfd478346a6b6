#include "apps/viewercheck/progresslog.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace ov3d::viewercheck {

namespace {

struct Log
{
    std::mutex mutex;
    std::vector<ProgressCall> calls;
    std::function<bool()> firstDrawQuery;
    std::function<void()> hook;
    std::atomic<int> running = 0;
};

/// Never destroyed: a viewer may call until the very end of the process.
Log& theLog()
{
    static Log& log = *new Log;
    return log;
}

} // namespace

void recordProgress(int percent)
{
    Log& log = theLog();
    ++log.running;
    std::function<void()> hook;
    {
        const std::lock_guard lock(log.mutex);
        log.calls.push_back({percent, log.firstDrawQuery && log.firstDrawQuery()});
        hook = log.hook;
    }
    if (hook)
        hook();
    --log.running;
}

void setFirstDrawQuery(std::function<bool()> query)
{
    const std::lock_guard lock(theLog().mutex);
    theLog().firstDrawQuery = std::move(query);
}

void setProgressHook(std::function<void()> hook)
{
    const std::lock_guard lock(theLog().mutex);
    theLog().hook = std::move(hook);
}

std::vector<ProgressCall> progressCalls()
{
    const std::lock_guard lock(theLog().mutex);
    return theLog().calls;
}

int progressCallsRunning()
{
    return theLog().running;
}

} // namespace ov3d::viewercheck
