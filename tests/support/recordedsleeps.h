#pragma once

#include <cstddef>
#include <functional>
#include <vector>

/// Sleeps that code under test asked for on one thread.
struct RecordedSleeps
{
    std::vector<unsigned long> milliseconds;
    std::function<void(std::size_t count)> onSleep; ///< called for each, with the number of sleeps so far

    [[nodiscard]] unsigned long total() const;
};

/// While one lives, QThread::msleep() on its thread records and does not sleep, and QElapsedTimer::elapsed() answers as
/// if it had slept: waits of seconds or minutes can be counted instead of waited for. All other threads really sleep.
///
/// One at a time on a thread. A program that uses it links ov3d_recorded_sleeps, whose two functions stand in for Qt's.
class SleepRecording
{
public:
    explicit SleepRecording(RecordedSleeps& sleeps);
    ~SleepRecording();
    SleepRecording(const SleepRecording&) = delete;
    SleepRecording& operator=(const SleepRecording&) = delete;

    /// Lets time pass that nobody sleeps through.
    static void pass(unsigned long milliseconds);
};
