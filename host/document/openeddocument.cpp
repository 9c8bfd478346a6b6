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

OpenedDocument::Failure OpenedDocument::read(const QString& path, Access access, QString& error)
{
    m_path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    QString problem;
    const Failure failure = unpack(m_path, access, problem);
    if (failure != Failure::None)
        error = QStringLiteral("cannot open \"%1\": %2").arg(m_path, problem);
    return failure;
}

OpenedDocument::Failure OpenedDocument::unpack(const QString& path, Access access, QString& problem)
{
    DocumentLock lock = access == Access::Editing ? lockDocument(path) : openForReading(path);
    if (!lock.file.isValid()) {
        problem = lock.problem;
        return Failure::NoAccess;
    }
    m_file = std::move(lock.file);
    m_isReader = access == Access::Reading;
    m_readOnlyReason = lock.readOnlyReason;
    if (access == Access::Editing)
        Replacement::sweepAbandoned(QFileInfo(path).canonicalFilePath());
    UnpackedDocument unpacked = unpackDocument(m_file.get(), m_folder->path());
    if (!unpacked.problem.isEmpty()) {
        problem = unpacked.problem;
        return unpacked.isFolderAtFault ? Failure::NoAccess : Failure::NoDocument;
    }
    m_content = std::move(unpacked.content);
    m_warnings = std::move(unpacked.warnings);
    if (m_readOnlyReason.isEmpty() && !unpacked.damaged.isEmpty())
        m_readOnlyReason = QStringLiteral("saving it would lose its damaged file \"%1\"").arg(unpacked.damaged.first());
    return Failure::None;
}

} // namespace ov3d::document
