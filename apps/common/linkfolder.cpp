#include "apps/common/linkfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>

#include <unistd.h>

namespace ov3d::apps {

namespace {

bool fits(const QString& path)
{
    return path.toLocal8Bit().size() <= kMaxPathBytes;
}

/// Link folders bear their program's process id. One whose program has gone was left behind by a crash.
void removeAbandoned(const QString& privateFolder, const QString& prefix)
{
    const QDir directory(privateFolder);
    const auto filter = QDir::Dirs | QDir::NoSymLinks;
    for (const QFileInfo& entry : directory.entryInfoList({prefix + QLatin1Char('*')}, filter)) {
        const pid_t owner = entry.fileName().mid(prefix.size()).section(QLatin1Char('-'), 0, 0).toInt();
        if (entry.ownerId() == ::geteuid() && owner > 0 && ::kill(owner, 0) != 0 && errno == ESRCH)
            QDir(entry.filePath()).removeRecursively();
    }
}

} // namespace

LinkFolder::LinkFolder(QString privateFolder, QString prefix)
    : m_privateFolder(std::move(privateFolder))
    , m_prefix(std::move(prefix))
{
}

LinkFolder::~LinkFolder()
{
    remove();
}

void LinkFolder::remove()
{
    // removeRecursively() removes links, not what they point at.
    if (!m_folder.isEmpty())
        QDir(m_folder).removeRecursively();
    m_folder.clear();
}

bool LinkFolder::makeFolder()
{
    if (!m_folder.isEmpty())
        return true;
    removeAbandoned(m_privateFolder, m_prefix);
    const QString name = QStringLiteral("%1%2%3-XXXXXX").arg(m_privateFolder, m_prefix).arg(::getpid());
    QByteArray path = QFile::encodeName(name);
    if (!::mkdtemp(path.data()))
        return false;
    m_folder = QFile::decodeName(path) + QLatin1Char('/');
    return true;
}

bool LinkFolder::makeLink(const QString& target, const QString& link)
{
    return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) == 0;
}

QString LinkFolder::linkTo(const QString& folder)
{
    if (!makeFolder())
        return {};
    const QString link = m_folder + QString::number(m_count++);
    return makeLink(folder, link) ? link : QString();
}

LinkFolder::Answer LinkFolder::shortened(const QString& path)
{
    if (fits(path))
        return {path, {}};

    const QFileInfo file(path);
    const QString suffix = file.suffix();
    const QString tooLong = QStringLiteral("the path is too long (%1 bytes; at most %2 can be shown)")
                                .arg(path.toLocal8Bit().size())
                                .arg(kMaxPathBytes);
    if (!makeFolder())
        return {{}, tooLong};

    const int number = m_count++;
    const QString folderLink = m_folder + QString::number(number);
    const QString throughFolder = folderLink + QLatin1Char('/') + file.fileName();
    if (fits(throughFolder) && makeLink(file.path(), folderLink))
        return {throughFolder, {}};

    const QString fileLink = QStringLiteral("%1model%2.%3").arg(m_folder).arg(number).arg(suffix);
    const bool isAlone = suffix.compare(QLatin1String("glb"), Qt::CaseInsensitive) == 0 ||
                         suffix.compare(QLatin1String("stl"), Qt::CaseInsensitive) == 0 ||
                         suffix.compare(QLatin1String("3mf"), Qt::CaseInsensitive) == 0;
    if (isAlone && fits(fileLink) && makeLink(path, fileLink))
        return {fileLink, {}};
    return {{}, tooLong};
}

} // namespace ov3d::apps
