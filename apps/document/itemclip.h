#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

namespace ov3d::apps {

/// The type of copied items on the clipboard.
inline constexpr const char* kItemClipType = "application/x-ov3d-items";

struct ClippedFile
{
    QString name; ///< relative to the item's folder
    QByteArray content;
};

/// One copied item, with everything that brings it back in another document or another program.
struct ClippedItem
{
    QByteArray stream;   ///< what the item's save() wrote; its model's path means nothing to the receiver
    QString model;       ///< name of a file below
    QString environment; ///< name of a file below, or empty
    QStringList state;   ///< names of the files below that carry the item's view and settings
    QVector<ClippedFile> files;
    QJsonObject parameters; ///< the whole record
    QJsonObject host;
};

/// Copied items as bytes for the clipboard, and back. The bytes may come from any program, so reading checks them:
/// names stay below the item's folder and are met once, the named files are there.
QByteArray writeClip(const QVector<ClippedItem>& items);

/// @return nothing, with a message in `error`, for bytes that are no copied items.
std::optional<QVector<ClippedItem>> readClip(const QByteArray& bytes, QString& error);

} // namespace ov3d::apps
