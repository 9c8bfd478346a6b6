#pragma once

#include "apps/document/documentservices.h"

#include <QString>
#include <QStringList>

#include <atomic>

class COvDocument;

namespace ov3d::apps {

/// The folder of an item's files, "resources/<n>", of a path relative to the document's working folder; empty for a
/// path that stands in none.
QString itemFolderOf(const QString& relative);

/// Whether a name from a file may be used below a folder: relative, without "..", without empty parts or a zero.
bool isPlainRelativePath(const QString& name);

/// Bytes that a model's folder and name take below the item's folder, at most, whatever the machine's own paths leave:
/// the document is to open on others too.
inline constexpr int kMostNameBytes = 120;

/// The longest path that an inserted model has below the working folder, in bytes of the local encoding.
inline constexpr int kMostModelPathBytes = 21 + kMostNameBytes; // "resources/999999999/..."

/// What an insertion has brought, relative to the working folder.
struct InsertedModel
{
    QString model;
    QStringList files; ///< the model first
};

/// Copies a model and every file that it needs into a new folder of the document; the working copy's suffix is in small
/// letters. The originals are only read. Blocks; any thread.
///
/// @param listFiles  names the needed files, relative to the model's folder. When it cannot read the model, the model
///     alone is copied: the viewer then says on the page what is wrong with it.
/// @return an empty text, or the reason, which names the file; nothing is left behind then.
QString copyModelIn(COvDocument& document, const QString& model, const ListFiles& listFiles,
                    const std::atomic<bool>& cancelled, InsertedModel& inserted);

} // namespace ov3d::apps
