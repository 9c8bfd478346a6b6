#include "apps/document/workingdocument.h"

#include "apps/document/itemfolder.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

namespace ov3d::apps {

namespace {

/// Longest path that is worth a look: models name data URIs of megabytes as their files.
constexpr int kLongestPath = 4096;

QString folderOfEntries(const QJsonArray& entries)
{
    for (const QJsonValue& entry : entries) {
        if (const QString folder = itemFolderOf(COvDocument::fileOfEntry(entry)); !folder.isEmpty())
            return folder;
    }
    return {};
}

} // namespace

/// Relative to the working folder, free of links; empty unless it is a regular file in an item's folder.
QString WorkingDocument::relativePath(const QString& path) const
{
    if (path.isEmpty() || path.size() > kLongestPath)
        return {};
    const QFileInfo info(path);
    if (!info.isFile())
        return {};
    const QString relative = QDir(QFileInfo(root()).canonicalFilePath()).relativeFilePath(info.canonicalFilePath());
    return isPlainRelativePath(relative) && !itemFolderOf(relative).isEmpty() ? relative : QString();
}

void WorkingDocument::transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store,
                                           QString& dirName)
{
    if (!store) {
        COvDocument::transferResourceFile(entries, path, key, store, dirName);
        return;
    }
    // The model comes first, so the first entry tells whose files these are.
    const QString relative = relativePath(path);
    const QString folder = folderOfEntries(entries);
    const bool isOwn = !relative.isEmpty() && (folder.isEmpty() || itemFolderOf(relative) == folder);
    QString taken = isOwn ? path : QString();
    COvDocument::transferResourceFile(entries, taken, key, store, dirName);
}

} // namespace ov3d::apps
