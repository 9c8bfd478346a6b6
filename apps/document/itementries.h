#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

class COvDocument;

namespace ov3d::apps {

// An item's own text (saveJson) holds the entries of its files as an array of arrays, one a save, of which it reads the
// first alone. A document keeps exactly one: every save starts from an empty text, so the first is the newest.

/// The key of the entries, in the item's text and in every transfer of a file.
QString itemEntriesKey();

/// The entries that the item would read.
QJsonArray itemEntries(const QJsonObject& text);

/// The text with these entries and no others.
QJsonObject withItemEntries(QJsonObject text, const QJsonArray& entries);

/// The text as the item is to read it: with the model's entry in front where none names the model, since items hand
/// over no 3MF model, though they load it.
/// @param model  relative to the document's working folder; may be empty.
QJsonObject readableText(const COvDocument& document, const QJsonObject& text, const QString& model);

/// The files of the entries, relative to the working folder, each once.
QStringList entryFiles(const QJsonArray& entries);

} // namespace ov3d::apps
