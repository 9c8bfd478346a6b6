#include "apps/document/environmentpicture.h"
#include "apps/document/itemclip.h"
#include "apps/document/itementries.h"
#include "apps/document/itemfolder.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/itemstate.h"
#include "apps/document/livedocument.h"
#include "apps/document/livedocumentprivate.h"
#include "apps/document/placeholderitem.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

namespace ov3d::apps {

namespace {

/// What a QByteArray can hold, with room for everything around the files.
constexpr qint64 kMostClipBytes = 1'900'000'000;

bool readFile(const QString& path, QByteArray& content, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    content = file.readAll();
    return true;
}

QString writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly | QIODevice::NewOnly) ||
        file.write(content) != content.size() || !file.flush())
        return QStringLiteral("%1: cannot be written: %2").arg(path, file.errorString());
    return {};
}

/// The item's stream with another model path. A placeholder reads and writes the same stream as every item.
QByteArray streamWithModel(PlaceholderItem& carrier, const QString& model)
{
    carrier.setOtherParams(QStringLiteral("model_path"), model);
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_5_15);
    carrier.save(out);
    return bytes;
}

} // namespace

/// Names the files without reading them, so that what is too large is refused before gigabytes are read.
/// @param room  bytes that the clipboard still takes.
bool LiveDocument::clipItem(CBaseObject& item, ClippedItem& clip, qint64& room, QString& error)
{
    OvDocumentItem record;
    if (!saveItem(item, record, error))
        return false;
    const QString folder = itemFolderOf(record.model);
    const auto nameOf = [&folder](const QString& file) { return file.mid(folder.size() + 1); };
    QStringList files = record.files;
    const QString environment = record.host.value(environmentKey()).toString();
    for (const QString& file : entryFiles(itemEntries(record.entries))) {
        if (!files.contains(file)) {
            files << file;
            clip.state << nameOf(file);
        }
    }
    if (!environment.isEmpty() && !files.contains(environment))
        files << environment;
    for (const QString& file : files) {
        const QString path = m_working.root() + QLatin1Char('/') + file;
        // What the model itself lacks stays missing.
        if (itemFolderOf(file) != folder || !QFileInfo(path).isFile())
            continue;
        room -= QFileInfo(path).size();
        if (room < 0) {
            error = QStringLiteral("%1: is too large to be copied with what is copied already").arg(itemName(record));
            return false;
        }
        clip.files.append({nameOf(file), {}});
    }
    QDataStream out(&clip.stream, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_5_15);
    item.save(out);
    clip.model = nameOf(record.model);
    clip.environment = environment.isEmpty() ? QString() : nameOf(environment);
    clip.parameters = record.parameters;
    clip.host = record.host;
    return true;
}

QByteArray LiveDocument::copyItems(const QList<CBaseObject*>& items, QString& error)
{
    QVector<ClippedItem> clips;
    qint64 room = kMostClipBytes;
    for (CBaseObject* item : items) {
        ClippedItem clip;
        if (dynamic_cast<PlaceholderItem*>(item) || itemRecord(*item).model.isEmpty()) {
            error = QStringLiteral("%1: is not loaded").arg(itemName(itemRecord(*item)));
            return {};
        }
        if (!clipItem(*item, clip, room, error))
            return {};
        clips.append(clip);
    }
    for (int i = 0; i < clips.size(); ++i) {
        const QString folder = m_working.root() + QLatin1Char('/') + itemFolderOf(itemRecord(*items[i]).model);
        for (ClippedFile& file : clips[i].files) {
            if (!readFile(folder + QLatin1Char('/') + file.name, file.content, error))
                return {};
        }
    }
    return writeClip(clips);
}

QString LiveDocument::pasteItems(COvPage& page, const QByteArray& bytes, QPointF shift, Arrival arrival)
{
    QString error;
    const auto clips = readClip(bytes, error);
    if (!clips)
        return error;
    for (const ClippedItem& clip : *clips)
        pasteItem(page, clip, shift, arrival);
    return {};
}

void LiveDocument::pasteItem(COvPage& page, const ClippedItem& clip, QPointF shift, const Arrival& arrival)
{
    auto arriving = std::make_shared<Arriving>();
    arriving->isNew = true;
    arriving->arrival = arrival;
    const QString folder = m_working.makeFolder();
    const auto pathOf = [folder](const QString& name) { return folder + QLatin1Char('/') + name; };
    const auto relative = [this, pathOf](const QString& name) {
        return QDir(m_working.root()).relativeFilePath(pathOf(name));
    };
    OvDocumentItem& record = arriving->record;
    record.model = relative(clip.model);
    for (const ClippedFile& file : clip.files) {
        if (!clip.state.contains(file.name))
            record.files << relative(file.name);
    }
    record.parameters = clip.parameters;
    record.host = clip.host;
    record.host.remove(environmentKey());
    if (!clip.environment.isEmpty())
        record.host.insert(environmentKey(), relative(clip.environment));

    QDataStream in(clip.stream);
    in.setVersion(QDataStream::Qt_5_15);
    auto* carrier = new PlaceholderItem({}, QFileInfo(clip.model).fileName());
    if (folder.isEmpty() || !carrier->load(in)) {
        carrier->Release();
        fail(*arriving, folder.isEmpty() ? QStringLiteral("the document's working folder cannot be written")
                                         : QStringLiteral("the item on the clipboard is damaged"));
        return;
    }
    carrier->setObjRect(boundedFrame(carrier->getObjRect().translated(shift)));
    carrier->updateAfterObjRectChanged(carrier, false);
    setItemRecord(*carrier, record);
    carrier->showArriving();
    page.addObject(carrier);
    arriving->placeholder = carrier;
    arriving->item = createHidden(carrier->getObjRect());

    // The item's view is not in its stream. So it first reads the state alone, a text without a model, and then the
    // stream, whose load takes the view up.
    QJsonArray state;
    for (const QString& name : clip.state)
        state.append(m_working.entryOf(pathOf(name), itemEntriesKey()));
    const QByteArray stream = streamWithModel(*carrier, pathOf(clip.model));
    startLoad(arriving, [item = arriving->item, clip, state, stream, pathOf](const std::atomic<bool>& cancelled) {
        for (const ClippedFile& file : clip.files) {
            if (const QString error = writeFile(pathOf(file.name), file.content); !error.isEmpty() || cancelled)
                return error;
        }
        QJsonObject text = withItemEntries({}, state);
        item->loadJson(text);
        QDataStream bytes(stream);
        bytes.setVersion(QDataStream::Qt_5_15);
        item->load(bytes);
        return QString();
    });
}

} // namespace ov3d::apps
