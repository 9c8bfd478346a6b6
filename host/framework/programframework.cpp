#include "host/framework/programframework.h"

#include "host/framework/document.h"
#include "host/framework/undo.h"

#include <QDir>
#include <QMutexLocker>

COvPathService::COvPathService() = default;
COvPathService::~COvPathService() = default;

bool COvPathService::setFolder(const QString& folder)
{
    // mkpath("") would stand for the current directory.
    if (folder.isEmpty() || !QDir().mkpath(folder))
        return false;
    QString path = QDir(folder).absolutePath();
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    setPath(path);
    return true;
}

void COvPathService::setPath(const QString& path)
{
    const QMutexLocker lock(&m_mutex);
    m_path = path;
}

QString COvPathService::getPath(int kind)
{
    if (kind != 0)
        return QString();
    const QMutexLocker lock(&m_mutex);
    return m_path;
}

COvProgramFramework::COvProgramFramework() = default;

COvProgramFramework::~COvProgramFramework()
{
    if (GetFramework() == this)
        SetFramework(nullptr);
}

COvPathService& COvProgramFramework::paths()
{
    return m_paths;
}

IOvPathService* COvProgramFramework::getPathService()
{
    return &m_paths;
}

IOvDocument* COvProgramFramework::getCurrentDocument()
{
    return m_document.data();
}

void COvProgramFramework::setCurrentDocument(COvDocument* document)
{
    m_document = document;
    CUndoRedo::GetInstance()->setActiveStack(document ? document->undoStack() : nullptr);
}
