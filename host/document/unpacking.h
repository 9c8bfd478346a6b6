#pragma once

#include "host/document/documentcontent.h"

#include <QString>
#include <QStringList>

namespace ov3d::document {

/// Checks a document file as a whole, then reads its content and unpacks its resources. Nothing is written outside
/// `folder`, whatever the file says. Any thread.
/// @param descriptor  of the file, open for reading; stays open.
/// @param folder      absolute, exists, empty.
/// @param warnings    receives one line for each resource that is named and missing, or damaged.
/// @return what is wrong with the file, in words; `folder` may then hold some of the resources.
[[nodiscard]] QString unpackDocument(int descriptor, const QString& folder, OvDocumentContent& content,
                                     QStringList& warnings);

} // namespace ov3d::document
