#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace ov3d::apps {

/// A writable folder of the program's own, with a folder "resources" in it: the plug-in wants that in the current
/// directory, and writes its log beside it. GUI thread.
class PrivateFolder
{
public:
    /// Takes the first candidate that exists or can be made and that can be written; else a temporary folder, which
    /// ends with the object.
    explicit PrivateFolder(const QStringList& candidates);

    /// The user's data folder for this program; empty when the user has no home. Needs an application name.
    static QStringList defaultCandidates();

    /// Absolute, with its trailing separator; empty when not even a temporary folder can be made.
    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] bool isTemporary() const { return m_temporary != nullptr; }

    /// Removes the folder if it is a temporary one; for programs that end without destructors.
    void removeIfTemporary();

private:
    QString m_path;
    std::unique_ptr<QTemporaryDir> m_temporary;
};

} // namespace ov3d::apps
