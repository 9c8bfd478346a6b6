#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

namespace ov3d::document {

/// One entry to be written: bytes in memory, or else a file.
struct ZipSource
{
    QByteArray name;
    QString path; ///< of the file; empty: `bytes` are the content
    QByteArray bytes;
};

enum class Packing
{
    WhereItPays, ///< but for formats that are packed themselves
    Never,
};

/// Writes a ZIP file to an open descriptor from its position on, which stays open. Same sources, same bytes: entries in
/// the order given, with one fixed date. Any thread, one at a time.
/// @return what went wrong, in words; empty when everything has been written.
[[nodiscard]] QString writeZip(int descriptor, const QVector<ZipSource>& sources, Packing packing);

} // namespace ov3d::document
