#include "host/document/unpacking.h"

#include "host/document/checkedfile.h"
#include "host/document/contentjson.h"
#include "host/document/entrynames.h"
#include "host/document/limits.h"
#include "host/document/zipreader.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

namespace ov3d::document {

namespace {

const QString kContentName = QStringLiteral("document.json");

/// A file's place in the working folder -> its entry.
using Places = QHash<QString, ZipEntry>;

// No entry may stand twice, nor be a folder for another one.
QString readPlaces(const QVector<ZipEntry>& entries, Places& places)
{
    QSet<QString> folders;
    for (const ZipEntry& entry : entries) {
        const QByteArray name = entry.isFolder ? entry.name.chopped(1) : entry.name;
        QString path;
        const QString problem = readEntryName(name, path);
        if (!problem.isEmpty())
            return problem;
        QString parent = entry.isFolder ? path : QFileInfo(path).path();
        for (; parent != QLatin1String(".") && !folders.contains(parent); parent = QFileInfo(parent).path())
            folders.insert(parent);
        if (entry.isFolder)
            continue;
        if (places.contains(path))
            return QStringLiteral("its entry \"%1\" stands twice").arg(shownName(name));
        places.insert(path, entry);
    }
    for (auto it = places.cbegin(); it != places.cend(); ++it) {
        if (folders.contains(it.key()))
            return QStringLiteral("its entry \"%1\" is a file and a folder").arg(shownName(it->name));
    }
    return {};
}

QString readContent(ZipReader& reader, const Places& places, OvDocumentContent& content)
{
    const auto entry = places.constFind(kContentName);
    if (entry == places.constEnd())
        return QStringLiteral("it is no document (it has no document.json)");
    if (entry->size > kMaxContentBytes)
        return QStringLiteral("its document.json is larger than %1 MB").arg(kMaxContentBytes / (1024 * 1024));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QString reason;
    if (reader.extract(*entry, buffer, reason) != ZipReader::Extraction::Done)
        return reason;
    return contentFromJson(buffer.data(), content);
}

QString folderProblem(UnpackedDocument& result, const QString& problem)
{
    result.isFolderAtFault = true;
    return problem;
}

QString unpackResource(ZipReader& reader, const ZipEntry& entry, const QString& folder, const QString& path,
                       UnpackedDocument& result)
{
    const QString target = folder + QLatin1Char('/') + path;
    if (!QDir().mkpath(QFileInfo(target).path()))
        return folderProblem(result, QStringLiteral("the folder \"%1\" cannot be made").arg(QFileInfo(target).path()));
    CheckedFile file(target);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        return folderProblem(result, QStringLiteral("\"%1\" cannot be written: %2").arg(target, file.errorString()));
    QString reason;
    switch (reader.extract(entry, file, reason)) {
    case ZipReader::Extraction::Done:
        break;
    case ZipReader::Extraction::Damaged:
        result.warnings << reason;
        result.damaged << path;
        file.remove();
        break;
    case ZipReader::Extraction::Untrue:
        return reason;
    case ZipReader::Extraction::CannotWrite:
        return folderProblem(result, QStringLiteral("\"%1\" cannot be written: %2")
                                         .arg(target, file.failure().isEmpty() ? reason : file.failure()));
    }
    return {};
}

QString unpackResources(ZipReader& reader, const Places& places, const QString& folder, UnpackedDocument& result)
{
    // In the file's own order, which is the order in which a disk reads it best.
    for (const ZipEntry& entry : reader.entries()) {
        QString path;
        if (entry.isFolder || !readEntryName(entry.name, path).isEmpty() || !isResourcePath(path))
            continue;
        const QString problem = unpackResource(reader, places.value(path), folder, path, result);
        if (!problem.isEmpty())
            return problem;
    }
    return {};
}

void reportMissing(const OvDocumentContent& content, const Places& places, QStringList& warnings)
{
    QSet<QString> reported;
    for (const OvDocumentPage& page : content.pages) {
        for (const OvDocumentItem& item : page.items) {
            for (const QString& file : filesOf(item, true)) {
                if (places.contains(file) || reported.contains(file))
                    continue;
                reported.insert(file);
                warnings << QStringLiteral("it lacks the file \"%1\"").arg(file);
            }
        }
    }
}

} // namespace

UnpackedDocument unpackDocument(int descriptor, const QString& folder)
{
    UnpackedDocument result;
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly, QFileDevice::DontCloseHandle)) {
        result.problem = file.errorString();
        return result;
    }
    ZipReader reader(file);
    Places places;
    result.problem = reader.readDirectory();
    if (result.problem.isEmpty())
        result.problem = readPlaces(reader.entries(), places);
    if (result.problem.isEmpty())
        result.problem = readContent(reader, places, result.content);
    if (result.problem.isEmpty())
        result.problem = unpackResources(reader, places, folder, result);
    if (result.problem.isEmpty())
        reportMissing(result.content, places, result.warnings);
    return result;
}

} // namespace ov3d::document
