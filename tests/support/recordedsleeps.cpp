#include "tests/support/recordedsleeps.h"

#include <QElapsedTimer>
#include <QThread>

#include <numeric>

namespace {

thread_local RecordedSleeps* t_sleeps = nullptr;
thread_local unsigned long t_passed = 0; ///< milliseconds since the recording began, beyond those that really passed

} // namespace

unsigned long RecordedSleeps::total() const
{
    return std::accumulate(milliseconds.begin(), milliseconds.end(), 0UL);
}

SleepRecording::SleepRecording(RecordedSleeps& sleeps)
{
    Q_ASSERT(!t_sleeps);
    t_sleeps = &sleeps;
}

SleepRecording::~SleepRecording()
{
    t_sleeps = nullptr;
    t_passed = 0;
}

void SleepRecording::pass(unsigned long milliseconds)
{
    t_passed += milliseconds;
}

void QThread::msleep(unsigned long milliseconds)
{
    if (!t_sleeps) {
        QThread::usleep(milliseconds * 1000);
        return;
    }
    t_passed += milliseconds;
    t_sleeps->milliseconds.push_back(milliseconds);
    if (t_sleeps->onSleep)
        t_sleeps->onSleep(t_sleeps->milliseconds.size());
}

qint64 QElapsedTimer::elapsed() const noexcept
{
    return nsecsElapsed() / 1'000'000 + static_cast<qint64>(t_passed);
}
