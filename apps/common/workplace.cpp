#include "apps/common/workplace.h"

#include "host/document/temporaryfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace ov3d::apps {

namespace {

constexpr qint64 kMaxLogBytes = 4 * 1024 * 1024;

/// The plug-in only ever appends to its log.
void limitLog(const QString& folder)
{
    const QString log = folder + QStringLiteral("ov3dlog.txt");
    if (QFileInfo(log).size() <= kMaxLogBytes)
        return;
    QFile::remove(log + QStringLiteral(".old"));
    QFile::rename(log, log + QStringLiteral(".old"));
}

} // namespace

Workplace::Workplace()
    : m_folder(PrivateFolder::defaultCandidates())
    , m_links(m_folder.path())
{
    const QString folder = m_folder.path();
    if (folder.isEmpty() || !m_framework.paths().setFolder(folder) || !QDir::setCurrent(folder)) {
        m_error = QStringLiteral(
                      "no folder for the program's own data can be made, neither in the user's data folder nor in %1")
                      .arg(ov3d::document::temporaryFolder());
        return;
    }
    limitLog(folder);
    SetFramework(&m_framework);
}

void Workplace::cleanUp()
{
    m_links.remove();
    m_folder.removeIfTemporary();
}

} // namespace ov3d::apps
