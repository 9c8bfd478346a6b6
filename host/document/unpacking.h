#pragma once

#include "host/document/documentcontent.h"

#include <QString>
#include <QStringList>

namespace ov3d::document {

struct UnpackedDocument
{
    QString problem;              ///< why it could not be unpacked, in words; the rest counts only when it is empty
    bool isFolderAtFault = false; ///< the problem is that the working folder cannot be written
    OvDocumentContent content;
    QStringList warnings; ///< one line for each resource that is named and missing, or damaged
    QStringList damaged;  ///< the damaged ones, relative to the folder
};

/// Checks a document file as a whole, then reads its content and unpacks its resources. Nothing is written outside
/// `folder`, whatever the file says. When there is a problem, `folder` may hold some of the resources. Any thread.
/// @param descriptor  of the file, open for reading; stays open.
/// @param folder      absolute, exists, empty.
[[nodiscard]] UnpackedDocument unpackDocument(int descriptor, const QString& folder);

} // namespace ov3d::document
