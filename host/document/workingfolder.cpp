#include "host/document/workingfolder.h"

#include "host/document/temporaryfolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QStringList>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ov3d::document {

namespace {

constexpr mode_t kOwnerOnly = 0700;
constexpr int kTries = 10;

const QString kLockSuffix = QStringLiteral(".lock");

QStringList parentCandidates()
{
    QStringList candidates;
    // Without a home, Qt would answer a folder in the root of the file system.
    if (!qEnvironmentVariableIsEmpty("HOME") || !qEnvironmentVariableIsEmpty("XDG_CACHE_HOME"))
        candidates << QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                          QStringLiteral("/ov3d/documents");
    candidates << QStringLiteral("%1/ov3d-documents-%2").arg(temporaryFolder()).arg(::geteuid());
    return candidates;
}

/// Whether it is a folder, no link, of this user's, that nobody else can write into. Among the temporary files another
/// user may have put something of that name in the way.
bool isOwn(const QString& folder)
{
    struct stat status
    {
    };
    return ::lstat(QFile::encodeName(folder).constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool makeParent(const QString& folder)
{
    if (!QDir().mkpath(QFileInfo(folder).path()))
        return false;
    const QByteArray name = QFile::encodeName(folder);
    return (::mkdir(name.constData(), kOwnerOnly) == 0 || errno == EEXIST) && isOwn(folder);
}

QString newName()
{
    return QStringLiteral("%1-%2")
        .arg(QCoreApplication::applicationPid())
        .arg(QRandomGenerator::system()->generate64(), 16, 16, QLatin1Char('0'));
}

/// The lock comes first: a folder never stands there without one.
FileDescriptor makeLocked(const QString& folder)
{
    const QString lockPath = folder + kLockSuffix;
    FileDescriptor lock = FileDescriptor::open(lockPath, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (!lock.isValid())
        return {};
    // Another program that sweeps at this moment may have been faster: then this name is gone.
    const bool isMine = lock.lock() != FileDescriptor::Lock::Held && lock.isFileAt(lockPath);
    if (isMine && ::mkdir(QFile::encodeName(folder).constData(), kOwnerOnly) == 0)
        return lock;
    const int reason = errno;
    if (isMine)
        QFile::remove(lockPath);
    errno = reason;
    return {};
}

void sweep(const QString& parent)
{
    if (!isOwn(parent))
        return;
    const QDir directory(parent);
    for (const QString& name : directory.entryList({QLatin1Char('*') + kLockSuffix}, QDir::Files | QDir::Hidden)) {
        const QString lockPath = directory.filePath(name);
        const FileDescriptor lock = FileDescriptor::open(lockPath, O_RDWR | O_NOFOLLOW | O_NONBLOCK);
        if (!lock.isValid() || lock.lock() != FileDescriptor::Lock::Taken || !lock.isFileAt(lockPath))
            continue;
        const QString folder = lockPath.chopped(kLockSuffix.size());
        if (isOwn(folder))
            QDir(folder).removeRecursively();
        QFile::remove(lockPath);
    }
}

} // namespace

WorkingFolder::WorkingFolder(QString path, FileDescriptor lock)
    : m_path(std::move(path))
    , m_lock(std::move(lock))
{
}

WorkingFolder::~WorkingFolder()
{
    QDir(m_path).removeRecursively();
    QFile::remove(m_path + kLockSuffix);
}

std::unique_ptr<WorkingFolder> WorkingFolder::create(QString& error)
{
    QStringList tried;
    for (const QString& parent : parentCandidates()) {
        if (!makeParent(parent)) {
            tried << QStringLiteral("\"%1\" (%2)").arg(parent, lastSystemError());
            continue;
        }
        for (int i = 0; i < kTries; ++i) {
            const QString folder = parent + QLatin1Char('/') + newName();
            FileDescriptor lock = makeLocked(folder);
            if (lock.isValid())
                return std::unique_ptr<WorkingFolder>(new WorkingFolder(folder, std::move(lock)));
        }
        tried << QStringLiteral("\"%1\" (%2)").arg(parent, lastSystemError());
    }
    error = QStringLiteral("no folder to work in can be made: %1").arg(tried.join(QStringLiteral(", ")));
    return nullptr;
}

QString temporaryFolder()
{
    const QString folder = QDir::tempPath();
    return QFileInfo::exists(folder) ? folder : QStringLiteral("/tmp");
}

void WorkingFolder::sweepAbandoned()
{
    for (const QString& parent : parentCandidates())
        sweep(parent);
}

} // namespace ov3d::document
