#include "apps/cli/progressbar.h"

#include <algorithm>
#include <chrono>

namespace ov3d::apps {

namespace {

constexpr std::chrono::milliseconds kInterval{100};
constexpr int kCells = 40;
constexpr const char* kWipeLine = "\r\033[K";

} // namespace

QByteArray progressBarText(int percent)
{
    const int shown = std::clamp(percent, 0, 100);
    const int filled = shown * kCells / 100;
    return '[' + QByteArray(filled, '#') + QByteArray(kCells - filled, '.') + "] " +
           QByteArray::number(shown).rightJustified(3) + " %";
}

ProgressBar::ProgressBar(const StandardStreams& streams, std::function<int()> percent)
    : m_streams(streams)
    , m_percent(std::move(percent))
{
    if (m_streams.isErrorTerminal())
        m_thread = std::thread([this] { draw(); });
}

ProgressBar::~ProgressBar()
{
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_ended.notify_one();
    m_thread.join();
    m_streams.writeError(kWipeLine);
}

void ProgressBar::draw()
{
    std::unique_lock lock(m_mutex);
    while (!m_ended.wait_for(lock, kInterval, [this] { return m_isEnding; }))
        m_streams.writeError('\r' + progressBarText(m_percent()));
}

} // namespace ov3d::apps
