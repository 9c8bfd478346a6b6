#pragma once

#include "apps/common/standardstreams.h"

#include <QByteArray>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace ov3d::apps {

/// One line of a progress bar, for a percentage that may lie outside of 0 to 100.
QByteArray progressBarText(int percent);

/// Draws a progress bar on the terminal's standard error, every 100 ms, from a thread of its own: a load blocks the GUI
/// thread. Draws nothing where standard error is no terminal. The line is wiped at the end.
class ProgressBar
{
public:
    /// @param percent  called on the bar's thread.
    ProgressBar(const StandardStreams& streams, std::function<int()> percent);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

private:
    void draw();

    const StandardStreams& m_streams;
    std::function<int()> m_percent;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace ov3d::apps
