#pragma once

#include <sys/types.h>

#include <chrono>

namespace ov3d::session {

/// Processor time of the renderers that work on one thing, one after the other; all threads of each together. One
/// thread at a time.
class ProcessorMeter
{
public:
    /// Counts this process from now on, or none when the id is not above 0. What was counted stays.
    void follow(pid_t id);

    /// What has been counted in all. Stands still while the system does not tell.
    [[nodiscard]] std::chrono::nanoseconds read();

private:
    pid_t m_id = 0;
    std::chrono::nanoseconds m_seen{0}; ///< of the process, at the latest look
    std::chrono::nanoseconds m_total{0};
};

/// Decides when a renderer has had its time.
///
/// On a machine that is busy with other things the clock alone says little about a file. So work is over its limit when
/// that time has passed and the renderer has either used as much of a processor, or used next to none while the limit
/// passed: then it waits for something that does not come. However little it gets, four times the limit is the end.
/// Knows no clock itself; the caller serialises.
class WorkLimit
{
public:
    using Clock = std::chrono::steady_clock;

    /// Never over.
    WorkLimit() = default;

    /// @param used  what the meter says now
    WorkLimit(std::chrono::milliseconds limit, Clock::time_point now, std::chrono::nanoseconds used);

    [[nodiscard]] bool isOver(Clock::time_point now, std::chrono::nanoseconds used);

    /// When to ask next; the end of time without a limit.
    [[nodiscard]] Clock::time_point nextLook() const { return m_nextLook; }

    /// What the work has taken longer than, once it is over.
    [[nodiscard]] std::chrono::milliseconds passed() const { return m_passed; }

private:
    std::chrono::milliseconds m_limit{0};
    std::chrono::milliseconds m_passed{0};
    Clock::time_point m_begin{};
    Clock::time_point m_watchedSince{}; ///< a time of this length without work is a wait
    std::chrono::nanoseconds m_usedAtBegin{0};
    std::chrono::nanoseconds m_usedWhenWatched{0};
    Clock::time_point m_nextLook = Clock::time_point::max();
};

} // namespace ov3d::session
