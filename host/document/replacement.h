#pragma once

#include "host/document/filedescriptor.h"

#include <QString>

#include <memory>

namespace ov3d::document {

/// A new content for a file, written under a temporary name in the same folder and put in its place in one step.
///
/// Until then, and after any failure or crash, the old file is whole. The temporary file is locked as long as it is
/// being written, so that one left behind can be told from one in work. Any thread, one at a time.
class Replacement
{
public:
    /// @param target  absolute, no link; need not exist. @return null with `reason` set when nothing can be made there.
    static std::unique_ptr<Replacement> begin(const QString& target, QString& reason);

    /// Removes the temporary file unless it has taken the target's place.
    ~Replacement();
    Q_DISABLE_COPY_MOVE(Replacement)

    /// Open for reading and writing; stays this object's.
    [[nodiscard]] int descriptor() const { return m_file.get(); }

    /// Gives the new file the old one's owner and permissions, brings it to the disk, and puts it in place.
    /// @return false with `reason` set; the old file is in place then.
    [[nodiscard]] bool commit(QString& reason);

    /// The descriptor of the file that has been put in place, with its lock.
    [[nodiscard]] FileDescriptor takeDescriptor() { return std::move(m_file); }

    /// Removes what killed programs left behind of replacing this file.
    static void sweepAbandoned(const QString& target);

private:
    Replacement(QString target, QString temporary, FileDescriptor file);
    [[nodiscard]] bool takeOverPermissions(QString& reason) const;

    const QString m_target;
    const QString m_temporary;
    FileDescriptor m_file;
    bool m_isInPlace = false;
};

} // namespace ov3d::document
