#pragma once

#include "apps/cli/commandline.h"
#include "apps/common/plugin.h"
#include "apps/common/viewerevents.h"
#include "apps/common/workplace.h"
#include "apps/document/livedocument.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace ov3d::apps {

class PlaceholderItem;
class StandardStreams;

/// What every command on a document needs: the plug-in with our viewer, the document, and what went wrong. GUI thread,
/// one a process.
class DocumentSession
{
public:
    /// @param folder  the folder that relative names stand in.
    DocumentSession(const StandardStreams& streams, QString folder);
    ~DocumentSession();
    DocumentSession(const DocumentSession&) = delete;
    DocumentSession& operator=(const DocumentSession&) = delete;

    /// Each step returns kExitDone, or ends the command with a line on standard error.
    ExitCode start();
    ExitCode create();
    ExitCode open(const QString& name, COvDocumentFile::Access access);
    ExitCode save(const QString& name);

    [[nodiscard]] LiveDocument& document() { return *m_document; }
    [[nodiscard]] QString absolute(const QString& name) const;

    /// Runs the loader until it has nothing left, with a progress bar, then the event loop until no picture is owed.
    ExitCode finishLoading();
    ExitCode settle();

    /// Whether every model has been shown: a line on standard error for each that ended in a card or in nothing, for
    /// side files and environment pictures that it is shown without, and for what of the items could not be restored.
    /// @param subject  begins each line.
    ExitCode tellEvents(const QString& subject);

    /// Lights an item with a copy of the user's environment picture, or with none.
    /// @param name  as the user wrote it; lines about the copy name it too.
    /// @return an empty text, or why nothing has changed.
    QString setEnvironment(CBaseObject& item, const QString& name);

    /// Whether a picture had to do without something, as the last tellEvents() has told: an environment picture.
    [[nodiscard]] bool hasNote() const { return m_hasNote; }

    ExitCode fail(ExitCode code, const QString& subject, const QString& reason) const;

private:
    [[nodiscard]] QString withUserNames(const QString& text) const;

    const StandardStreams& m_streams;
    const QString m_folder;
    QString m_environment;     ///< as the user wrote it
    QString m_environmentCopy; ///< its path in the working folder
    Workplace m_workplace;
    Plugin m_plugin;
    std::unique_ptr<LiveDocument> m_document;
    QStringList m_warned;
    bool m_hasFailedItem = false;
    bool m_hasNote = false;
};

} // namespace ov3d::apps
