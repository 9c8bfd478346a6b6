#pragma once

#include <QByteArray>
#include <QString>

/// Names inside a document file. ASCII alone, whatever the locale: every other byte of a path's UTF-8 is written as
/// %XX.
namespace ov3d::document {

/// Whether a path is a plain relative one: "/" between, nothing empty, no "." or "..", no zero, lengths within bounds.
[[nodiscard]] bool isPlainRelativePath(const QString& path);

/// Whether a path can name a file that a document keeps: a plain relative one below "resources/".
[[nodiscard]] bool isResourcePath(const QString& path);

/// The name of an entry for a plain relative path.
[[nodiscard]] QByteArray entryNameOf(const QString& path);

/// @param path  receives the relative path, for an entry name that entryNameOf() can have made.
/// @return what is wrong with the name, in words; empty when it is sound. Any thread.
[[nodiscard]] QString readEntryName(const QByteArray& name, QString& path);

/// A name for a message: printable, and not longer than a line.
[[nodiscard]] QString shownName(const QByteArray& name);

} // namespace ov3d::document
