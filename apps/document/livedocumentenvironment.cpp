/// The environment pictures of a live document's items.

#include "apps/document/environmentpicture.h"
#include "apps/document/itemfolder.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemstate.h"
#include "apps/document/livedocument.h"

#include <QFile>
#include <QFileInfo>

namespace ov3d::apps {

namespace {

/// @return an empty text, or a message that names the file.
QString copyPicture(const QString& from, const QString& to)
{
    if (const QString reason = whyNoEnvironment(from); !reason.isEmpty())
        return reason;
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(from, source.errorString());
    const QByteArray content = source.readAll();
    QFile target(to);
    // As a file of its own: the original's permissions are not the document's.
    if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly) || target.write(content) != content.size() ||
        !target.flush())
        return QStringLiteral("%1: cannot be written: %2").arg(to, target.errorString());
    return {};
}

} // namespace

QString LiveDocument::environmentOf(const CBaseObject& item)
{
    return itemRecord(item).host.value(environmentKey()).toString();
}

QString LiveDocument::setEnvironment(CBaseObject& item, const QString& path)
{
    const QString folder = itemFolderOf(itemRecord(item).model);
    if (folder.isEmpty())
        return QStringLiteral("the item has no model");
    if (path.isEmpty())
        return returnToEnvironment(item, {});
    // A new name each time: a viewer may still read the old one, and undo goes back to it.
    QString file;
    for (int i = 1; file.isEmpty() || QFileInfo::exists(m_working.root() + QLatin1Char('/') + file); ++i)
        file = QStringLiteral("%1/environment%2.hdr").arg(folder).arg(i);
    const QString copy = m_working.root() + QLatin1Char('/') + file;
    QString error = copyPicture(path, copy);
    if (error.isEmpty())
        error = applyEnvironment(item, file, path);
    if (!error.isEmpty())
        QFile::remove(copy);
    return error;
}

QString LiveDocument::returnToEnvironment(CBaseObject& item, const QString& file)
{
    return applyEnvironment(item, file, file);
}

/// @param shownName  names the picture in a refusal.
QString LiveDocument::applyEnvironment(CBaseObject& item, const QString& file, const QString& shownName)
{
    const QString path = file.isEmpty() ? QString() : m_working.root() + QLatin1Char('/') + file;
    if (const QString error = sendEnvironment(item, path, shownName); !error.isEmpty())
        return error;
    OvDocumentItem record = itemRecord(item);
    record.files.removeAll(record.host.value(environmentKey()).toString());
    record.host.remove(environmentKey());
    if (!file.isEmpty()) {
        record.files << file;
        record.host.insert(environmentKey(), file);
    }
    setItemRecord(item, record);
    return {};
}

} // namespace ov3d::apps
