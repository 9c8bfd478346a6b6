#pragma once

#include "host/framework/services.h"

#include <QMutex>
#include <QPointer>

class COvDocument;

/// A path service that answers one settable folder. Any thread.
class OV_FRAMEWORK_EXPORT COvPathService : public IOvPathService
{
public:
    COvPathService();
    ~COvPathService() override;

    /// Makes `folder` absolute, creates it where it is missing, and answers it with a trailing separator from now on.
    /// @return false, with the path unchanged, when there is no such folder and none can be made.
    bool setFolder(const QString& folder);

    /// Answers exactly this text from now on.
    void setPath(const QString& path);

    [[nodiscard]] QString getPath(int kind) override;

private:
    QMutex m_mutex;
    QString m_path;
};

/// A framework for programs: paths, and the document that is being worked on. Registers nothing by itself: hand it to
/// SetFramework.
class OV_FRAMEWORK_EXPORT COvProgramFramework : public IOvFramework
{
public:
    COvProgramFramework();
    ~COvProgramFramework() override; ///< takes itself away from SetFramework if it is the one set

    [[nodiscard]] COvPathService& paths();
    [[nodiscard]] IOvPathService* getPathService() override;

    /// Null while there is none, and again after the document has been deleted.
    [[nodiscard]] IOvDocument* getCurrentDocument() override;

    /// Makes a document the current one and its undo stack the active one. GUI thread.
    void setCurrentDocument(COvDocument* document);

private:
    COvPathService m_paths;
    QPointer<COvDocument> m_document;
};
