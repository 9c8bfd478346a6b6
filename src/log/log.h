#pragma once

/// The diagnostics log: "ov3dlog.txt" in the application folder, for people reading it after the fact. Any thread; two
/// entries written at one moment are not kept apart, but each is written whole.

#include <QString>

#include <chrono>
#include <string>

/// Appends one entry: time, "[OVOBJECT]  ", the text byte for byte, and no line end of its own. Never fails visibly.
///
/// The first entry asks the host for the application folder unless the host has set `g_app_path` itself; then the log's
/// path stays empty and every entry is lost, which hosts use to switch the log off.
void test(std::string text);

/// @return the current local time as "2024-01-31 23:59:59.005", 23 characters.
std::string getCurrentTime();

/// The same for a given moment since the epoch.
std::string formatLogTime(std::chrono::nanoseconds sinceEpoch);

/// Makes a directory with all its parents unless it exists, and reports on Qt's debug output.
void ensureDirectoryExists(const QString& path);

/// @return a copy of `g_app_path` that is safe against a first log entry written by another thread.
QString applicationPath();
