#pragma once

#include <QMutex>

/// Whether a mutex could be locked at this moment. It is left as it was.
inline bool isFree(QMutex& mutex)
{
    const bool free = mutex.tryLock();
    if (free)
        mutex.unlock();
    return free;
}
