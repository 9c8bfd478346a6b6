#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

/// What a watched run of a program left behind.
struct WatchedRun
{
    int exitCode = -1;       ///< -1: crashed, did not start, or was ended for taking longer than the limit
    int signal = 0;          ///< that ended it, or 0
    bool isTimedOut = false; ///< it took longer than the limit
    QByteArray output;
    QByteArray errors;
    double seconds = 0;
    /// The most memory, in bytes, that the program and all its renderers can have held at once: the sum of the peaks
    /// of their resident sets, whether or not they reached them at the same time.
    qint64 peakBytes = 0;
    int renderersSeen = 0;
    int renderersLeft = 0; ///< still alive five seconds after the program had ended
};

/// Longest time that any file may take to be answered.
inline constexpr int kAnswerLimitMs = 30000;

/// Half of the machine's memory, in bytes.
qint64 halfOfTheMemory();

/// How many runs at once keep this machine busy.
int runsAtOnce();

/// Runs a program once for each list of arguments, several at once, and waits for all of them.
///
/// The calling process becomes the adopter of orphans, so that the peak memory of every renderer is known from the
/// kernel's own account and no renderer goes unseen. It must have no other child processes meanwhile. One thread.
/// @param whileRunning  called about every ten milliseconds with the index of a run, its program's id and its
///                      renderers' ids; may end renderers
std::vector<WatchedRun> runWatched(
    const QString& program, const std::vector<QStringList>& arguments, int atOnce = runsAtOnce(),
    const std::function<void(std::size_t run, int program, const std::vector<int>& renderers)>& whileRunning = {});
