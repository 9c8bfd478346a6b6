#pragma once

#include "host/document/documentcontent.h"

#include <QByteArray>

/// document.json, the text that says what a document holds (docs/document-format.md).
namespace ov3d::document {

/// Indented UTF-8 with sorted keys: the same content makes the same bytes. Any thread.
/// @param problem  receives words when the text would be too large or too deep to be read again, or names a file
///     outside the document; the text is empty then.
[[nodiscard]] QByteArray contentToJson(const OvDocumentContent& content, QString& problem);

/// @param content  receives what the text says; unchanged when there is a problem. Any thread.
/// @return what is wrong with the text, in words; empty when it is sound.
[[nodiscard]] QString contentFromJson(const QByteArray& json, OvDocumentContent& content);

/// The files that an item needs: its own and those that its entries name, relative to the working folder, each once.
/// @param present  only those that are said to exist, whose absence is worth a word.
[[nodiscard]] QStringList filesOf(const OvDocumentItem& item, bool present);

} // namespace ov3d::document
