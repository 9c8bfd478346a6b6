#pragma once

#include <QtGlobal>

#include <exception>

/// Writes a warning, or nothing when there is no memory even for that.
inline void warnOfFailure(const char* work, const char* reason) noexcept
{
    try {
        qWarning("%s failed: %s", work, reason);
    } catch (const std::exception&) {
        // Nobody can be told.
    }
}

/// Does what a host asked for. A host knows no exceptions of the plug-in's: they end here, with a warning.
///
/// @param work  names the work in the warning
/// @return what `body` answers, or false when it threw.
template <typename Body> bool withoutException(const char* work, Body&& body)
{
    try {
        return body();
    } catch (const std::exception& error) {
        warnOfFailure(work, error.what());
        return false;
    }
}
