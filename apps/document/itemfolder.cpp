#include "apps/document/itemfolder.h"

#include "apps/common/modelfile.h"
#include "host/framework/framework.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr qint64 kCopyBlock = 1 << 20;

QString cancellation(const QString& file)
{
    return QStringLiteral("%1: the insertion was cancelled").arg(file);
}

/// Copies the content alone: the copy is the user's to write, whatever the original's permissions are.
QString copyFile(const QString& from, const QString& to, const std::atomic<bool>& cancelled)
{
    if (const QString reason = whyUnreadable(from); !reason.isEmpty())
        return QStringLiteral("%1: %2").arg(from, reason);
    QFile source(from);
    QFile target(to);
    if (!source.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(from, source.errorString());
    if (!QDir().mkpath(QFileInfo(to).path()) || !target.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return QStringLiteral("%1: cannot be copied into the document: %2").arg(from, target.errorString());
    QByteArray block(kCopyBlock, Qt::Uninitialized);
    for (;;) {
        if (cancelled)
            return cancellation(from);
        const qint64 length = source.read(block.data(), block.size());
        if (length < 0)
            return QStringLiteral("%1: %2").arg(from, source.errorString());
        if (length == 0)
            break;
        if (target.write(block.constData(), length) != length)
            return QStringLiteral("%1: cannot be copied into the document: %2").arg(from, target.errorString());
    }
    if (!target.flush())
        return QStringLiteral("%1: cannot be copied into the document: %2").arg(from, target.errorString());
    return {};
}

/// Cuts the text to so many bytes of the local encoding.
QString cutTo(QString text, int bytes)
{
    while (text.toLocal8Bit().size() > bytes && !text.isEmpty())
        text.chop(text.at(text.size() - 1).isLowSurrogate() && text.size() > 1 ? 2 : 1);
    return text;
}

/// Where the model goes below the item's folder: a folder named as the item will name its directory, so that it knows
/// its preview picture there, and in it the model. Names are shortened to what every machine can open.
QString workingName(const QFileInfo& model, const QStringList& sideFiles)
{
    const QString suffix = QLatin1Char('.') + model.suffix().toLower();
    const int room = kMostNameBytes - 1 - suffix.size();
    QString stem = model.completeBaseName();
    QString directory = stem.section(QLatin1Char('.'), 0, 0);
    if (directory.isEmpty() || (directory + stem).toLocal8Bit().size() > room)
        directory = QStringLiteral("model");
    stem = cutTo(stem, room - directory.size());
    while (sideFiles.contains(stem + suffix))
        stem = cutTo(stem, room - directory.size() - 1) + QLatin1Char('_');
    return directory + QLatin1Char('/') + stem + suffix;
}

QString copyAll(const QString& root, const QString& folder, const QString& model, const QStringList& sideFiles,
                const std::atomic<bool>& cancelled, InsertedModel& inserted)
{
    const QFileInfo source(model);
    const QString name = workingName(source, sideFiles);
    const auto copy = [&](const QString& from, const QString& below) {
        const QString target = folder + QLatin1Char('/') + below;
        inserted.files << QDir(root).relativeFilePath(target);
        return copyFile(from, target, cancelled);
    };
    QString error = copy(model, name);
    inserted.model = inserted.files.first();
    for (const QString& file : sideFiles) {
        if (!error.isEmpty())
            break;
        error = copy(source.absolutePath() + QLatin1Char('/') + file,
                     name.section(QLatin1Char('/'), 0, 0) + QLatin1Char('/') + file);
    }
    return error;
}

} // namespace

QString itemFolderOf(const QString& relative)
{
    static const QRegularExpression form(QStringLiteral("^resources/[0-9]{1,9}(?=/)"));
    return form.match(relative).captured();
}

bool isPlainRelativePath(const QString& name)
{
    if (name.isEmpty() || name.contains(QChar(0)))
        return false;
    const QStringList parts = name.split(QLatin1Char('/'));
    return std::none_of(parts.begin(), parts.end(), [](const QString& part) {
        return part.isEmpty() || part == QLatin1String(".") || part == QLatin1String("..");
    });
}

QString copyModelIn(COvDocument& document, const QString& model, const ListFiles& listFiles,
                    const std::atomic<bool>& cancelled, InsertedModel& inserted)
{
    const ModelFileReport report = examineModelFile(model);
    if (report.verdict != ModelFileReport::Verdict::accepted)
        return QStringLiteral("%1: %2").arg(model, report.reason);

    QStringList sideFiles;
    const QString ownName = QFileInfo(model).fileName();
    const auto take = [&](const QString& file) {
        if (isPlainRelativePath(file) && file != ownName && !sideFiles.contains(file))
            sideFiles << file;
    };
    const bool isListed = listFiles(model, take, [&cancelled] { return cancelled.load(); });
    if (cancelled)
        return cancellation(model);
    if (!isListed)
        sideFiles.clear();

    const QString folder = document.makeFolder();
    if (folder.isEmpty())
        return QStringLiteral("%1: the document's working folder cannot be written").arg(document.root());
    inserted = {};
    const QString error = copyAll(document.root(), folder, model, sideFiles, cancelled, inserted);
    if (!error.isEmpty()) {
        QDir(folder).removeRecursively();
        inserted = {};
    }
    return error;
}

} // namespace ov3d::apps
