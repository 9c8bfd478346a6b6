#include "host/document/openeddocument.h"

#include "host/document/contentjson.h"
#include "host/document/documentlock.h"
#include "host/document/entrynames.h"
#include "host/document/limits.h"
#include "host/document/replacement.h"
#include "host/document/workingfolder.h"
#include "host/document/zipreader.h"
#include "host/document/zipwriter.h"
#include "host/framework/document.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>

#include <unistd.h>

namespace ov3d::document {

namespace {

const QByteArray kContentName = QByteArrayLiteral("document.json");
const QByteArray kPreviewName = QByteArrayLiteral("preview.png");

/// Room in the container for what is not the files themselves: headers, names, the directory.
constexpr qint64 kOverheadBytes = 64LL * 1024 * 1024;

QString missingSpace(qint64 bytes)
{
    return QStringLiteral("its files have %1 bytes, and a document holds less than 4 GB").arg(bytes);
}

/// Reads the directory of what has been written as opening will: nothing takes the old document's place that could not
/// be opened again.
QString checkWritten(int descriptor)
{
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly, QFileDevice::DontCloseHandle))
        return file.errorString();
    return ZipReader(file).readDirectory();
}

// An item's own text grows by one save each time; only the newest one counts, and loading reads the first.
void keepNewestSaves(OvDocumentContent& content)
{
    for (OvDocumentPage& page : content.pages) {
        for (OvDocumentItem& item : page.items)
            COvDocument::keepNewestSave(item.entries);
    }
}

bool rewindEmpty(int descriptor)
{
    return ::ftruncate(descriptor, 0) == 0 && ::lseek(descriptor, 0, SEEK_SET) == 0;
}

struct WrittenDocument : COvWrittenDocument
{
    FileDescriptor file; ///< of the new file, locked
    QString path;
    OvDocumentContent content;
};

} // namespace

std::unique_ptr<COvWrittenDocument> OpenedDocument::write(const QString& path, const OvDocumentSnapshot& snapshot,
                                                          QString& error) const
{
    auto written = std::make_unique<WrittenDocument>();
    OvDocumentSnapshot saved = snapshot;
    keepNewestSaves(saved.content);
    written->path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    QString problem;
    const QString target = saveTargetOf(path, problem);
    QVector<ZipSource> sources;
    // By name, since what another program has put there meanwhile is newer than what this document holds.
    QString ignored;
    if (problem.isEmpty() && isReadOnly() && target == saveTargetOf(m_path, ignored))
        problem =
            m_readOnlyReason.isEmpty() ? QStringLiteral("it has been opened for reading alone") : m_readOnlyReason;
    if (problem.isEmpty())
        problem = collectSources(saved, sources);
    if (problem.isEmpty())
        problem = writeTo(target, sources, written->file);
    if (!problem.isEmpty()) {
        error = QStringLiteral("cannot save \"%1\": %2").arg(written->path, problem);
        return nullptr;
    }
    written->content = std::move(saved.content);
    return written;
}

void OpenedDocument::take(std::unique_ptr<COvWrittenDocument> written)
{
    auto& document = static_cast<WrittenDocument&>(*written);
    m_file = std::move(document.file);
    m_path = document.path;
    m_isReader = false;
    m_readOnlyReason.clear();
    m_content = std::move(document.content);
}

QString OpenedDocument::collectSources(const OvDocumentSnapshot& snapshot, QVector<ZipSource>& sources) const
{
    QString problem;
    const QByteArray json = contentToJson(snapshot.content, problem);
    if (!problem.isEmpty())
        return problem;
    QStringList files;
    for (const OvDocumentPage& page : snapshot.content.pages) {
        for (const OvDocumentItem& item : page.items)
            files << filesOf(item, false);
    }
    files.removeDuplicates();
    files.sort();

    sources.append({kContentName, QString(), json});
    const QString root = QDir(m_folder->path()).canonicalPath();
    qint64 total = json.size();
    for (const QString& file : files) {
        if (const auto held = snapshot.files.constFind(file); held != snapshot.files.constEnd()) {
            total += held->size();
            sources.append({entryNameOf(file), QString(), *held});
            continue;
        }
        const QFileInfo info(m_folder->path() + QLatin1Char('/') + file);
        // What the model itself lacks stays missing; the item shows what that means.
        if (!info.isFile())
            continue;
        if (!info.canonicalFilePath().startsWith(root + QLatin1Char('/')))
            return QStringLiteral("\"%1\" is a link out of the document").arg(file);
        total += info.size();
        sources.append({entryNameOf(file), info.filePath(), QByteArray()});
    }
    if (!snapshot.preview.isNull()) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        if (!snapshot.preview.save(&buffer, "PNG"))
            return QStringLiteral("its preview cannot be written");
        total += buffer.size();
        sources.append({kPreviewName, QString(), buffer.data()});
    }
    if (sources.size() > kMaxEntries)
        return QStringLiteral("it has %1 files, and a document holds %2").arg(sources.size()).arg(kMaxEntries);
    return total > kMaxUnpackedBytes - kOverheadBytes ? missingSpace(total) : QString();
}

QString OpenedDocument::writeTo(const QString& target, const QVector<ZipSource>& sources, FileDescriptor& written) const
{
    FileDescriptor held;
    QString problem = lockForReplacing(target, m_file, held);
    if (!problem.isEmpty())
        return problem;
    Replacement::sweepAbandoned(target);
    const std::unique_ptr<Replacement> replacement = Replacement::begin(target, problem);
    if (!replacement)
        return problem;
    problem = writeZip(replacement->descriptor(), sources, Packing::WhereItPays);
    if (problem.isEmpty() && !checkWritten(replacement->descriptor()).isEmpty()) {
        // Something in it shrinks so well that opening would take it for a trap.
        if (!rewindEmpty(replacement->descriptor()))
            return lastSystemError();
        problem = writeZip(replacement->descriptor(), sources, Packing::Never);
        if (problem.isEmpty())
            problem = checkWritten(replacement->descriptor());
    }
    if (!problem.isEmpty() || !replacement->commit(problem))
        return problem;
    written = replacement->takeDescriptor();
    return {};
}

} // namespace ov3d::document
