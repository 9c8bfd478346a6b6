#include "apps/cli/documentfilecommands.h"

#include "apps/common/modelfile.h"
#include "apps/common/standardstreams.h"
#include "apps/document/itemfolder.h"
#include "apps/document/livedocument.h"
#include "host/document/documentfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace ov3d::apps {

namespace {

ExitCode fail(const StandardStreams& streams, ExitCode code, const QString& text)
{
    streams.printErrorLine(QStringLiteral("ov3d: ") + text);
    return code;
}

QStringList warningsOf(const COvDocumentFile& file)
{
    QStringList warnings = file.warnings();
    for (const OvDocumentPage& page : file.content().pages) {
        for (const OvDocumentItem& item : page.items)
            warnings << whyFrameChanged(item);
    }
    warnings.removeAll(QString());
    return warnings;
}

std::unique_ptr<COvDocumentFile> openFile(const StandardStreams& streams, const QString& folder, const QString& name,
                                          ExitCode& code)
{
    const QString path = QDir(folder).absoluteFilePath(name);
    if (const QString reason = whyUnreadable(path); !reason.isEmpty()) {
        code = fail(streams, kExitNoAccess, QStringLiteral("%1: %2").arg(name, reason));
        return nullptr;
    }
    QString error;
    auto failure = COvDocumentFile::Failure::None;
    auto file = COvDocumentFile::open(path, error, COvDocumentFile::Access::Reading, &failure);
    if (!file) {
        code = fail(streams, failure == COvDocumentFile::Failure::NoAccess ? kExitNoAccess : kExitRefused, error);
        return nullptr;
    }
    code = kExitDone;
    for (const QString& warning : warningsOf(*file))
        fail(streams, code, QStringLiteral("%1: %2").arg(name, warning));
    return file;
}

QStringList missingFiles(const COvDocumentFile& file, const OvDocumentItem& item)
{
    QStringList missing;
    QStringList needed = item.files;
    if (!item.model.isEmpty() && !needed.contains(item.model))
        needed.prepend(item.model);
    for (const QString& name : needed) {
        if (!QFileInfo(file.workingFolder() + QLatin1Char('/') + name).isFile())
            missing << name;
    }
    return missing;
}

QJsonObject itemFacts(const COvDocumentFile& file, const OvDocumentItem& item, int number)
{
    const QRectF frame = itemFrame(item);
    return {
        {QStringLiteral("item"), number},
        {QStringLiteral("model"), item.model.isEmpty() ? QJsonValue() : QJsonValue(itemName(item))},
        {QStringLiteral("x"), frame.x()},
        {QStringLiteral("y"), frame.y()},
        {QStringLiteral("width"), frame.width()},
        {QStringLiteral("height"), frame.height()},
        {QStringLiteral("locked"), item.host.value(QLatin1String("locked")).toBool()},
        {QStringLiteral("files"), QJsonArray::fromStringList(item.files)},
        {QStringLiteral("missing"), QJsonArray::fromStringList(missingFiles(file, item))},
        {QStringLiteral("settings"), item.parameters},
    };
}

QJsonObject documentFacts(const COvDocumentFile& file, const QString& name)
{
    QJsonArray pages;
    int number = 0;
    for (const OvDocumentPage& page : file.content().pages) {
        QJsonArray items;
        for (const OvDocumentItem& item : page.items)
            items.append(itemFacts(file, item, ++number));
        pages.append(QJsonObject{{QStringLiteral("width"), page.size.width()},
                                 {QStringLiteral("height"), page.size.height()},
                                 {QStringLiteral("items"), items}});
    }
    return {
        {QStringLiteral("file"), name},
        {QStringLiteral("pages"), pages},
        {QStringLiteral("warnings"), QJsonArray::fromStringList(warningsOf(file))},
        {QStringLiteral("read_only"),
         file.readOnlyReason().isEmpty() ? QJsonValue() : QJsonValue(file.readOnlyReason())},
    };
}

/// Without an exponent, up to the largest page.
QString plain(double units)
{
    return QString::number(units, 'g', 10);
}

QString itemLine(const COvDocumentFile& file, const OvDocumentItem& item, int number)
{
    const QRectF frame = itemFrame(item);
    QString line = QStringLiteral("  %1: %2, %3 x %4 at %5, %6")
                       .arg(number)
                       .arg(itemName(item))
                       .arg(plain(frame.width()))
                       .arg(plain(frame.height()))
                       .arg(plain(frame.x()))
                       .arg(plain(frame.y()));
    if (item.host.value(QLatin1String("locked")).toBool())
        line += QStringLiteral(", locked");
    const QStringList missing = missingFiles(file, item);
    if (!missing.isEmpty())
        line += QStringLiteral(", without %1").arg(missing.join(QStringLiteral(", ")));
    return line;
}

QStringList documentLines(const COvDocumentFile& file)
{
    QStringList lines;
    int page = 0;
    int number = 0;
    for (const OvDocumentPage& saved : file.content().pages) {
        lines << QStringLiteral("page %1: %2 x %3")
                     .arg(++page)
                     .arg(plain(saved.size.width()), plain(saved.size.height()));
        for (const OvDocumentItem& item : saved.items)
            lines << itemLine(file, item, ++number);
    }
    return lines;
}

bool writeLines(const StandardStreams& streams, const QStringList& lines)
{
    for (const QString& line : lines) {
        if (!streams.printLine(line))
            return false;
    }
    return true;
}

const OvDocumentItem* itemOf(const OvDocumentContent& content, int number)
{
    for (const OvDocumentPage& page : content.pages) {
        if (number <= page.items.size())
            return &page.items[number - 1];
        number -= page.items.size();
    }
    return nullptr;
}

/// Where a file goes: as it stood beside the model; by its name alone when it did not.
QString extractedName(const OvDocumentItem& item, const QString& file)
{
    const QString folder = QFileInfo(item.model).path() + QLatin1Char('/');
    return file.startsWith(folder) ? file.mid(folder.size()) : QFileInfo(file).fileName();
}

ExitCode copyOut(const StandardStreams& streams, const COvDocumentFile& file, const OvDocumentItem& item,
                 const QString& folder)
{
    if (!QDir().mkpath(folder))
        return fail(streams, kExitNoAccess, QStringLiteral("%1: the folder cannot be made").arg(folder));
    ExitCode code = kExitDone;
    for (const QString& name : item.files) {
        const QString source = file.workingFolder() + QLatin1Char('/') + name;
        const QString target = folder + QLatin1Char('/') + extractedName(item, name);
        QFile copy(source);
        if (!isPlainRelativePath(name) || !QFileInfo(source).isFile())
            code = fail(streams, kExitNoAccess, QStringLiteral("%1: is missing from the document").arg(name));
        else if (QFileInfo::exists(target))
            code = fail(streams, kExitNoAccess, QStringLiteral("%1: exists already").arg(target));
        else if (!QDir().mkpath(QFileInfo(target).path()) || !copy.copy(target))
            code = fail(streams, kExitNoAccess, QStringLiteral("%1: %2").arg(target, copy.errorString()));
    }
    return code;
}

} // namespace

ExitCode runInfo(const InfoCommand& command, const QString& folder, const StandardStreams& streams)
{
    ExitCode code = kExitDone;
    const auto file = openFile(streams, folder, command.document, code);
    if (!file)
        return code;
    const bool isWritten = command.json
                               ? streams.writeOutput(QJsonDocument(documentFacts(*file, command.document)).toJson())
                               : writeLines(streams, documentLines(*file));
    return isWritten ? kExitDone : fail(streams, kExitNoAccess, QStringLiteral("standard output: cannot be written"));
}

ExitCode runExtract(const ExtractCommand& command, const QString& folder, const StandardStreams& streams)
{
    ExitCode code = kExitDone;
    const auto file = openFile(streams, folder, command.document, code);
    if (!file)
        return code;
    const OvDocumentItem* item = itemOf(file->content(), command.item);
    if (!item)
        return fail(streams, kExitUsage, QStringLiteral("%1: has no item %2").arg(command.document).arg(command.item));
    if (item->model.isEmpty())
        return fail(streams, kExitNoAccess,
                    QStringLiteral("%1: item %2 has no model").arg(command.document).arg(command.item));
    return copyOut(streams, *file, *item, QDir(folder).absoluteFilePath(command.folder));
}

} // namespace ov3d::apps
