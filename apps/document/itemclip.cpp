#include "apps/document/itemclip.h"

#include "apps/document/itemfolder.h"

#include <QDataStream>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr quint32 kMagic = 0x4f334443; // "O3DC"
constexpr quint16 kVersion = 1;
constexpr quint32 kMostItems = 1000;
constexpr quint32 kMostFiles = 10000;

QByteArray textOf(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject objectFrom(const QByteArray& text)
{
    return QJsonDocument::fromJson(text).object();
}

void writeItem(QDataStream& out, const ClippedItem& item)
{
    out << item.stream << item.model << item.environment << item.state << textOf(item.parameters) << textOf(item.host)
        << static_cast<quint32>(item.files.size());
    for (const ClippedFile& file : item.files)
        out << file.name << file.content;
}

bool readItem(QDataStream& in, ClippedItem& item)
{
    QByteArray parameters;
    QByteArray host;
    quint32 files = 0;
    in >> item.stream >> item.model >> item.environment >> item.state >> parameters >> host >> files;
    if (files > kMostFiles)
        return false;
    item.parameters = objectFrom(parameters);
    item.host = objectFrom(host);
    for (quint32 i = 0; i < files && in.status() == QDataStream::Ok; ++i) {
        ClippedFile file;
        in >> file.name >> file.content;
        item.files.append(file);
    }
    return in.status() == QDataStream::Ok;
}

bool isConsistent(const ClippedItem& item)
{
    QSet<QString> names;
    for (const ClippedFile& file : item.files) {
        if (!isPlainRelativePath(file.name) || names.contains(file.name))
            return false;
        names.insert(file.name);
    }
    return names.contains(item.model) && (item.environment.isEmpty() || names.contains(item.environment)) &&
           std::all_of(item.state.begin(), item.state.end(),
                       [&names](const QString& name) { return names.contains(name); });
}

} // namespace

QByteArray writeClip(const QVector<ClippedItem>& items)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_5_15);
    out << kMagic << kVersion << static_cast<quint32>(items.size());
    for (const ClippedItem& item : items)
        writeItem(out, item);
    return bytes;
}

std::optional<QVector<ClippedItem>> readClip(const QByteArray& bytes, QString& error)
{
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_5_15);
    quint32 magic = 0;
    quint16 version = 0;
    quint32 count = 0;
    in >> magic >> version >> count;
    if (in.status() != QDataStream::Ok || magic != kMagic) {
        error = QStringLiteral("the clipboard holds no items of a page");
        return {};
    }
    if (version > kVersion) {
        error = QStringLiteral("the items on the clipboard were copied by a newer version");
        return {};
    }
    QVector<ClippedItem> items;
    for (quint32 i = 0; i < count; ++i) {
        ClippedItem item;
        if (count > kMostItems || !readItem(in, item) || !isConsistent(item)) {
            error = QStringLiteral("the items on the clipboard are damaged");
            return {};
        }
        items.append(item);
    }
    return items;
}

} // namespace ov3d::apps
