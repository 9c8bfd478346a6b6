#pragma once

#include <QString>
#include <QVector>

#include <cstddef>

/// Splits a viewer's side-file list ("a/b.png@c.png") into names and folders, appended to the two lists in step.
///
/// Repeated entries and empty ones are dropped, backslashes become slashes, and a folder keeps its trailing "/".
/// @param text  UTF-8; need not be terminated within `size` bytes.
void appendSideFiles(const char* text, std::size_t size, QVector<QString>& names, QVector<QString>& folders);
