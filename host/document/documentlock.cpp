#include "host/document/documentlock.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>

namespace ov3d::document {

namespace {

constexpr int kMaxLinks = 40;
constexpr int kTries = 10;
const QString kOpenElsewhere = QStringLiteral("it is open in another window or program");

// Some network file systems lock only what has been opened for writing too. Never waits, not even for a pipe's writer.
FileDescriptor openDocument(const QString& path)
{
    FileDescriptor file = FileDescriptor::open(path, O_RDWR | O_NONBLOCK | O_NOCTTY);
    if (!file.isValid())
        file = FileDescriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    return file;
}

QString plainFileProblem(const FileDescriptor& file)
{
    struct stat status
    {
    };
    if (::fstat(file.get(), &status) != 0)
        return lastSystemError();
    if (S_ISDIR(status.st_mode))
        return QStringLiteral("it is a folder");
    return S_ISREG(status.st_mode) ? QString() : QStringLiteral("it is no plain file");
}

QString permissionProblem(const QString& path)
{
    const QFileInfo target(QFileInfo(path).canonicalFilePath());
    if (!target.isWritable())
        return QStringLiteral("the file may not be changed");
    if (!QFileInfo(target.path()).isWritable())
        return QStringLiteral("its folder may not be changed");
    return {};
}

} // namespace

DocumentLock lockDocument(const QString& path)
{
    DocumentLock result;
    for (int i = 0; i < kTries; ++i) {
        FileDescriptor file = openDocument(path);
        if (!file.isValid()) {
            result.problem = lastSystemError();
            return result;
        }
        result.problem = plainFileProblem(file);
        if (!result.problem.isEmpty())
            return result;
        const FileDescriptor::Lock lock = file.lock();
        // Between opening and locking, another program may have saved: then this is the old document.
        if (!file.isFileAt(path))
            continue;
        result.readOnlyReason = lock == FileDescriptor::Lock::Held ? kOpenElsewhere : permissionProblem(path);
        result.file = std::move(file);
        return result;
    }
    result.problem = QStringLiteral("another program keeps replacing it");
    return result;
}

DocumentLock openForReading(const QString& path)
{
    DocumentLock result;
    FileDescriptor file = FileDescriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    result.problem = file.isValid() ? plainFileProblem(file) : lastSystemError();
    if (!result.problem.isEmpty())
        return result;
    result.file = std::move(file);
    result.readOnlyReason = permissionProblem(path);
    return result;
}

QString saveTargetOf(const QString& path, QString& problem)
{
    QString target = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    for (int i = 0; QFileInfo(target).isSymLink(); ++i) {
        if (i == kMaxLinks) {
            problem = QStringLiteral("it is a link that leads nowhere");
            return {};
        }
        target = QDir::cleanPath(QFileInfo(target).symLinkTarget());
    }
    const QFileInfo info(target);
    if (path.isEmpty() || info.fileName().isEmpty())
        problem = QStringLiteral("it has no name");
    else if (info.isDir())
        problem = QStringLiteral("it is a folder");
    else if (info.exists() && !info.isFile())
        problem = QStringLiteral("it is no plain file");
    else if (!QFileInfo(info.path()).isDir())
        problem = QStringLiteral("there is no folder \"%1\"").arg(info.path());
    return problem.isEmpty() ? target : QString();
}

QString lockForReplacing(const QString& target, const FileDescriptor& own, FileDescriptor& held)
{
    if (own.isValid() && own.isFileAt(target))
        return {};
    FileDescriptor file = openDocument(target);
    if (!file.isValid())
        return errno == ENOENT ? QString() : lastSystemError();
    if (file.lock() == FileDescriptor::Lock::Held)
        return kOpenElsewhere;
    held = std::move(file);
    return {};
}

} // namespace ov3d::document
