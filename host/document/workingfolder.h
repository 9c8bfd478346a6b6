#pragma once

#include "host/document/filedescriptor.h"

#include <QString>

#include <memory>

namespace ov3d::document {

/// A private folder for one open document, removed with the object.
///
/// Beside it stands a file that the owner holds locked as long as it lives: what another program may take the lock of
/// was left behind by one that crashed. Any thread, one at a time.
class WorkingFolder
{
public:
    /// In the user's cache folder, or else in a folder of the user's own among the temporary files.
    /// @return null with `error` set when neither can be used.
    static std::unique_ptr<WorkingFolder> create(QString& error);

    ~WorkingFolder();
    Q_DISABLE_COPY_MOVE(WorkingFolder)

    /// Absolute, without a trailing separator.
    [[nodiscard]] QString path() const { return m_path; }

    /// Removes the folders of programs that have ended without doing so.
    static void sweepAbandoned();

private:
    WorkingFolder(QString path, FileDescriptor lock);

    const QString m_path;
    FileDescriptor m_lock;
};

} // namespace ov3d::document
