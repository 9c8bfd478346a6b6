#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// Looks at a file of an archive, and may change it. @return false to leave it out
using ArchiveChange = std::function<bool(const QString& path, QByteArray& content)>;

/// Copies a ZIP archive file by file, as a damaging or foreign program would. @return false when that fails
bool copyArchive(const QString& from, const QString& to, const ArchiveChange& change);
