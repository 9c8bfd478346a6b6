#include "viewer/session/worklimit.h"

#include <algorithm>
#include <ctime>
#include <optional>

namespace ov3d::session {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr int kMostLimits = 4;
/// Less than this part of a processor is what waiting itself costs, and less than schedulers leave to those who work.
constexpr int kLeastPart = 50;
constexpr int kLooksInALimit = 20;
constexpr milliseconds kShortestLook{10};

std::optional<nanoseconds> processorTime(pid_t id)
{
    clockid_t clock = 0;
    timespec time = {};
    if (id <= 0 || clock_getcpuclockid(id, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return std::nullopt;
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

} // namespace

void ProcessorMeter::follow(pid_t id)
{
    static_cast<void>(read());
    m_id = id;
    m_seen = processorTime(id).value_or(nanoseconds(0));
}

nanoseconds ProcessorMeter::read()
{
    const nanoseconds now = processorTime(m_id).value_or(m_seen);
    // A process whose id stands for another one by now may even seem to go back.
    m_total += std::max(nanoseconds(0), now - m_seen);
    m_seen = now;
    return m_total;
}

WorkLimit::WorkLimit(milliseconds limit, Clock::time_point now, nanoseconds used)
    : m_limit(limit)
    , m_begin(now)
    , m_watchedSince(now)
    , m_usedAtBegin(used)
    , m_usedWhenWatched(used)
    , m_nextLook(now + limit)
{
}

bool WorkLimit::isOver(Clock::time_point now, nanoseconds used)
{
    if (now < m_nextLook)
        return false;
    const Clock::time_point end = m_begin + kMostLimits * m_limit;
    m_passed = now < end ? m_limit : kMostLimits * m_limit;
    if (now >= end || used - m_usedAtBegin >= m_limit)
        return true;
    if (now - m_watchedSince >= m_limit) {
        if (used - m_usedWhenWatched < m_limit / kLeastPart)
            return true;
        m_watchedSince = now;
        m_usedWhenWatched = used;
    }
    m_nextLook = std::min(end, now + std::max(kShortestLook, m_limit / kLooksInALimit));
    return false;
}

} // namespace ov3d::session
