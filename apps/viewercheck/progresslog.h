#pragma once

#include <functional>
#include <vector>

namespace ov3d::viewercheck {

/// What the progress callback was told. A callback knows no item, so there is one log a process.
struct ProgressCall
{
    int percent = 0;
    bool afterFirstDraw = false;
};

/// The callback that items hand to the viewer. Any thread.
void recordProgress(int percent);

/// Asked at each call, before the hook, whether the first draw is over. Set it before the start.
void setFirstDrawQuery(std::function<bool()> query);
/// Runs inside each call, on the viewer's thread. Set it before the start.
void setProgressHook(std::function<void()> hook);

[[nodiscard]] std::vector<ProgressCall> progressCalls();
/// How many calls are running at this moment.
[[nodiscard]] int progressCallsRunning();

} // namespace ov3d::viewercheck
