/// Saving of live documents: what the items hand over, and the thread that packs it.

#include "apps/document/itementries.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemstate.h"
#include "apps/document/livedocument.h"
#include "apps/document/livedocumentprivate.h"
#include "apps/document/pagepicture.h"
#include "apps/document/placeholderitem.h"

#include <QFile>

#include <memory>
#include <utility>

namespace ov3d::apps {

namespace {

/// What an item writes itself stays far below. A document from elsewhere may name anything as such a file.
constexpr qint64 kMostSideFileBytes = 64LL << 20;

} // namespace

bool LiveDocument::saveItem(CBaseObject& item, OvDocumentItem& record, QString& error)
{
    record = itemRecord(item);
    if (const auto* placeholder = dynamic_cast<PlaceholderItem*>(&item)) {
        // What waits keeps the document's own words; what has failed may have been moved.
        const QRectF frame = item.getObjRect();
        if (placeholder->state() == PlaceholderItem::State::failed && frame != itemFrame(record))
            record.entries.insert(kRectKey, arrayOf(frame));
        return true;
    }
    if (!saveItemState(item, m_working.root(), record, error))
        return false;
    record.host.insert(QStringLiteral("type"), item.GetType());
    record.host.insert(kLockedKey, item.isLocked());
    setItemRecord(item, record);
    return true;
}

/// An item writes these anew whenever it is copied, also while the save is packing them.
void LiveDocument::takeSideFiles(const OvDocumentItem& record, OvDocumentSnapshot& snapshot) const
{
    for (const QString& name : entryFiles(itemEntries(record.entries))) {
        QFile file(m_working.root() + QLatin1Char('/') + name);
        if (!record.files.contains(name) && file.size() <= kMostSideFileBytes && file.open(QIODevice::ReadOnly))
            snapshot.files.insert(name, file.readAll());
    }
}

/// An item of the document that nobody has asked yet; null when there is none. An item that arrives while the others
/// are asked takes the place of its placeholder, and may even get its address.
CBaseObject* LiveDocument::nextToAsk(const AskedItems& asked) const
{
    for (CBaseObject* item : items()) {
        const auto* placeholder = dynamic_cast<PlaceholderItem*>(item);
        const bool isArriving = placeholder && placeholder->state() == PlaceholderItem::State::arriving;
        if (!isArriving && !asked.value(item).item)
            return item;
    }
    return nullptr;
}

bool LiveDocument::collect(OvDocumentSnapshot& snapshot, QString& error, const std::function<void()>& pause)
{
    OvDocumentSnapshot collected;
    AskedItems asked;
    while (CBaseObject* item = nextToAsk(asked)) {
        OvDocumentItem record;
        if (!saveItem(*item, record, error))
            return false;
        takeSideFiles(record, collected);
        asked.insert(item, {item, record});
        if (pause)
            pause();
    }
    collected.content.unknown = m_file->content().unknown;
    for (int i = 0; i < m_pages.pageCount(); ++i) {
        COvPage* page = m_pages.page(i);
        OvDocumentPage saved;
        saved.size = page->size();
        saved.unknown = page->scene()->property(kPageProperty).toJsonObject();
        for (COVRootObject* object : page->objects()) {
            const auto found = asked.constFind(dynamic_cast<CBaseObject*>(object));
            if (found != asked.constEnd() && found->item)
                saved.items.append(found->record);
        }
        collected.content.pages.append(saved);
    }
    if (m_pages.pageCount() > 0)
        collected.preview = pagePreview(*m_pages.page(0));
    snapshot = collected;
    return true;
}

bool LiveDocument::save(const QString& path, QString& error)
{
    finishSave();
    OvDocumentSnapshot snapshot;
    if (!collect(snapshot, error, {}))
        return false;
    std::unique_ptr<COvWrittenDocument> written = m_file->write(path, snapshot, error);
    if (!written)
        return false;
    m_file->take(std::move(written));
    return true;
}

bool LiveDocument::startSave(const QString& path, QString& error, const std::function<void()>& pause)
{
    if (m_isCollecting) {
        error = QStringLiteral("%1: the document is being saved already").arg(path);
        return false;
    }
    finishSave();
    m_savingPath = path;
    OvDocumentSnapshot snapshot;
    m_isCollecting = true;
    const bool isCollected = collect(snapshot, error, pause);
    m_isCollecting = false;
    if (!isCollected) {
        m_savingPath.clear();
        return false;
    }
    auto written = std::make_shared<std::unique_ptr<COvWrittenDocument>>();
    m_saver.start(
        [file = m_file.get(), path, snapshot, written] {
            QString problem;
            *written = file->write(path, snapshot, problem);
            return problem;
        },
        [this, written](const QString& problem) {
            if (*written)
                m_file->take(std::move(*written));
            Q_EMIT saveEnded(std::exchange(m_savingPath, {}), problem);
        });
    return true;
}

void LiveDocument::finishSave()
{
    while (m_saver.isRunning())
        m_saver.wait();
}

} // namespace ov3d::apps
