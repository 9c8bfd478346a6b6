#include "apps/common/privatefolder.h"

#include "host/document/temporaryfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace ov3d::apps {

namespace {

constexpr auto kOwnerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

bool prepare(const QString& folder)
{
    const bool isNew = !QFileInfo::exists(folder);
    if (!QDir().mkpath(folder))
        return false;
    if (isNew)
        QFile::setPermissions(folder, kOwnerOnly);
    const QDir directory(folder);
    QTemporaryFile probe(directory.filePath(QStringLiteral("probe-XXXXXX")));
    return probe.open() && directory.mkpath(QStringLiteral("resources"));
}

QString withSeparator(const QString& folder)
{
    const QString path = QDir(folder).absolutePath();
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

} // namespace

PrivateFolder::PrivateFolder(const QStringList& candidates)
{
    for (const QString& candidate : candidates) {
        if (prepare(candidate)) {
            m_path = withSeparator(candidate);
            return;
        }
    }
    m_temporary = std::make_unique<QTemporaryDir>(ov3d::document::temporaryFolder() + QStringLiteral("/ov3d-XXXXXX"));
    if (m_temporary->isValid() && prepare(m_temporary->path()))
        m_path = withSeparator(m_temporary->path());
}

QStringList PrivateFolder::defaultCandidates()
{
    // Without a home, Qt would answer a folder in the root of the file system.
    if (qEnvironmentVariableIsEmpty("HOME") && qEnvironmentVariableIsEmpty("XDG_DATA_HOME"))
        return {};
    return {QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)};
}

void PrivateFolder::removeIfTemporary()
{
    if (m_temporary)
        m_temporary->remove();
}

} // namespace ov3d::apps
