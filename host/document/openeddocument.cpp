#include "host/document/openeddocument.h"

#include "host/document/contentjson.h"
#include "host/document/documentlock.h"
#include "host/document/replacement.h"
#include "host/document/unpacking.h"
#include "host/document/workingfolder.h"

#include <QDir>
#include <QFileInfo>

namespace ov3d::document {

OpenedDocument::OpenedDocument(std::unique_ptr<WorkingFolder> folder)
    : m_folder(std::move(folder))
{
}

OpenedDocument::~OpenedDocument() = default;

QString OpenedDocument::workingFolder() const
{
    return m_folder->path();
}

bool OpenedDocument::read(const QString& path, QString& error)
{
    m_path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    const QString problem = unpack(m_path);
    if (!problem.isEmpty())
        error = QStringLiteral("cannot open \"%1\": %2").arg(m_path, problem);
    return problem.isEmpty();
}

QString OpenedDocument::unpack(const QString& path)
{
    DocumentLock lock = lockDocument(path);
    if (!lock.file.isValid())
        return lock.problem;
    m_file = std::move(lock.file);
    m_readOnlyReason = lock.readOnlyReason;
    Replacement::sweepAbandoned(QFileInfo(path).canonicalFilePath());
    return unpackDocument(m_file.get(), m_folder->path(), m_content, m_warnings);
}

} // namespace ov3d::document
