#pragma once

#include "host/document/filedescriptor.h"

#include <QString>

namespace ov3d::document {

/// An open document file, with the lock that keeps others from changing it, or the reason why this one may not either.
struct DocumentLock
{
    FileDescriptor file; ///< open for reading; not valid when there is a problem
    QString problem;
    QString readOnlyReason;
};

/// Opens a document and locks it. The lock lies on the file itself: it works without any right to write, leaves nothing
/// behind, and is held by whatever name another program opens the file. Any thread.
[[nodiscard]] DocumentLock lockDocument(const QString& path);

/// Opens a document that others may change meanwhile: what has been opened stays as it is, since saving replaces files
/// as a whole. Takes no lock. Any thread.
[[nodiscard]] DocumentLock openForReading(const QString& path);

/// The file that saving under `path` replaces: what a chain of links leads to in the end, there or not.
/// @param problem  receives words when nothing can be saved under that path.
[[nodiscard]] QString saveTargetOf(const QString& path, QString& problem);

/// Checks that nobody else has a document open that is about to be replaced. One that does not exist is nobody's.
/// @param own   the caller's descriptor, whose lock does not count as another's.
/// @param held  receives the lock that was taken for the check, to be kept until the document has been replaced.
/// @return why it may not be replaced, in words; empty when it may.
[[nodiscard]] QString lockForReplacing(const QString& target, const FileDescriptor& own, FileDescriptor& held);

} // namespace ov3d::document
