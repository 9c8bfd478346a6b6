#include "host/document/replacement.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace ov3d::document {

namespace {

constexpr int kTries = 10;
const QString kTemporarySuffix = QStringLiteral(".saving");

// The document's own name may be as long as a name can be, so only its hash goes into the temporary one.
QString temporaryPrefix(const QString& target)
{
    const QByteArray hash = QCryptographicHash::hash(QFileInfo(target).fileName().toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral(".ov3d-%1-").arg(QString::fromLatin1(hash.toHex().left(16)));
}

QString newTemporary(const QString& target)
{
    return QStringLiteral("%1/%2%3%4")
        .arg(QFileInfo(target).path(), temporaryPrefix(target))
        .arg(QRandomGenerator::system()->generate64(), 16, 16, QLatin1Char('0'))
        .arg(kTemporarySuffix);
}

void synchronizeFolder(const QString& folder)
{
    // The new name is there already; where a folder cannot be synchronized, it reaches the disk with the system's pace.
    const FileDescriptor descriptor = FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY);
    if (descriptor.isValid())
        (void)::fsync(descriptor.get());
}

} // namespace

Replacement::Replacement(QString target, QString temporary, FileDescriptor file)
    : m_target(std::move(target))
    , m_temporary(std::move(temporary))
    , m_file(std::move(file))
{
}

Replacement::~Replacement()
{
    if (!m_isInPlace)
        QFile::remove(m_temporary);
}

std::unique_ptr<Replacement> Replacement::begin(const QString& target, QString& reason)
{
    // A new file gets what the user's mask leaves; the successor of a private one is private from its first byte.
    const mode_t mode = QFileInfo::exists(target) ? 0600 : 0666;
    for (int i = 0; i < kTries; ++i) {
        const QString temporary = newTemporary(target);
        FileDescriptor file = FileDescriptor::open(temporary, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
        if (!file.isValid()) {
            reason = lastSystemError();
            if (errno == EEXIST)
                continue;
            return nullptr;
        }
        const bool isMine = file.lock() != FileDescriptor::Lock::Held && file.isFileAt(temporary);
        if (isMine)
            return std::unique_ptr<Replacement>(new Replacement(target, temporary, std::move(file)));
        reason = QStringLiteral("another program removes its temporary files");
    }
    return nullptr;
}

bool Replacement::takeOverPermissions(QString& reason) const
{
    struct stat old
    {
    };
    struct stat fresh
    {
    };
    if (::stat(QFile::encodeName(m_target).constData(), &old) != 0)
        return true;
    mode_t mode = old.st_mode & 07777;
    if (::fstat(m_file.get(), &fresh) == 0 && (fresh.st_uid != old.st_uid || fresh.st_gid != old.st_gid) &&
        ::fchown(m_file.get(), old.st_uid, old.st_gid) != 0 &&
        ::fchown(m_file.get(), static_cast<uid_t>(-1), old.st_gid) != 0) {
        // What the old group was allowed is not for another one.
        mode = (mode & ~static_cast<mode_t>(S_IRWXG)) | ((mode & S_IRWXO) << 3);
    }
    if (::fchmod(m_file.get(), mode) == 0)
        return true;
    reason = lastSystemError();
    return false;
}

bool Replacement::commit(QString& reason)
{
    if (!takeOverPermissions(reason))
        return false;
    if (::fsync(m_file.get()) != 0 ||
        ::rename(QFile::encodeName(m_temporary).constData(), QFile::encodeName(m_target).constData()) != 0) {
        reason = lastSystemError();
        return false;
    }
    m_isInPlace = true;
    synchronizeFolder(QFileInfo(m_target).path());
    return true;
}

void Replacement::sweepAbandoned(const QString& target)
{
    const QDir folder(QFileInfo(target).path());
    const QStringList filter{temporaryPrefix(target) + QLatin1Char('*') + kTemporarySuffix};
    for (const QString& name : folder.entryList(filter, QDir::Files | QDir::Hidden)) {
        const QString path = folder.filePath(name);
        const FileDescriptor file = FileDescriptor::open(path, O_RDWR | O_NOFOLLOW | O_NONBLOCK);
        if (file.isValid() && file.lock() == FileDescriptor::Lock::Taken && file.isFileAt(path))
            QFile::remove(path);
    }
}

} // namespace ov3d::document
