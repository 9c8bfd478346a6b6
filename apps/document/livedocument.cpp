#include "apps/document/livedocument.h"

#include "apps/common/modelfile.h"
#include "apps/document/itementries.h"
#include "apps/document/itemfolder.h"
#include "apps/document/itemreaper.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/itemstate.h"
#include "apps/document/livedocumentprivate.h"
#include "apps/document/pagepicture.h"
#include "apps/document/placeholderitem.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include <cmath>
#include <utility>

namespace ov3d::apps {

namespace {

constexpr const char* kPageProperty = "ov3dUnknownKeys";
constexpr QSizeF kNurserySize(1, 1);
constexpr QLatin1String kLockedKey("locked");
constexpr double kFrameWidth = 1280; ///< an item's own first size
constexpr double kFrameHeight = 960;

} // namespace

QString itemName(const OvDocumentItem& record)
{
    return record.model.isEmpty() ? QStringLiteral("an item without a model") : QFileInfo(record.model).fileName();
}

QRectF itemFrame(const OvDocumentItem& record)
{
    const QJsonArray numbers = record.entries.value(QLatin1String("obj_rect")).toArray();
    const auto number = [&numbers](int i) { return numbers.at(i).toDouble(); };
    const QRectF frame(number(0), number(1), number(2), number(3));
    // A document may come from anywhere, and a page has no use for an item of millions.
    constexpr double kMost = 1e6;
    const bool isUsable = numbers.size() == 4 && std::abs(frame.x()) <= kMost && std::abs(frame.y()) <= kMost &&
                          frame.width() >= 1 && frame.width() <= kMost && frame.height() >= 1 &&
                          frame.height() <= kMost;
    return isUsable ? frame : QRectF(0, 0, kFrameWidth, kFrameHeight);
}

LiveDocument::LiveDocument(DocumentServices services, std::unique_ptr<COvDocumentFile> file)
    : m_services(std::move(services))
    , m_file(std::move(file))
    , m_pages(m_file->workingFolder())
    , m_nursery(&m_pages, kNurserySize)
    , m_loader(m_services.abandonLoad)
    , m_warnings(m_file->warnings())
{
}

std::unique_ptr<LiveDocument> LiveDocument::create(DocumentServices services, QString& error)
{
    auto file = COvDocumentFile::create(error);
    if (!file)
        return nullptr;
    return std::unique_ptr<LiveDocument>(new LiveDocument(std::move(services), std::move(file)));
}

std::unique_ptr<LiveDocument> LiveDocument::open(const QString& path, DocumentServices services, QString& error)
{
    auto file = COvDocumentFile::open(path, error);
    if (!file)
        return nullptr;
    std::unique_ptr<LiveDocument> document(new LiveDocument(std::move(services), std::move(file)));
    document->makePages();
    return document;
}

LiveDocument::~LiveDocument()
{
    m_loader.cancelAll();
    m_loader.wait();
    // Commands may hold items that have been taken off a page.
    m_pages.undoStack()->clear();
    for (int i = 0; i < m_pages.pageCount(); ++i) {
        COvPage* page = m_pages.page(i);
        for (COVRootObject* object : page->objects()) {
            auto* item = dynamic_cast<CBaseObject*>(object);
            if (item && !dynamic_cast<PlaceholderItem*>(item) && page->takeObject(item))
                reapItem(item);
        }
    }
}

COvPage* LiveDocument::addPage(const QSizeF& size)
{
    return m_pages.addPage(size);
}

void LiveDocument::makePages()
{
    for (const OvDocumentPage& saved : m_file->content().pages) {
        COvPage* page = addPage(saved.size);
        page->scene()->setProperty(kPageProperty, saved.unknown);
        for (const OvDocumentItem& record : saved.items)
            addPlaceholder(*page, record, itemFrame(record), itemName(record));
    }
}

PlaceholderItem* LiveDocument::addPlaceholder(COvPage& page, const OvDocumentItem& record, const QRectF& frame,
                                              const QString& name)
{
    auto* placeholder = new PlaceholderItem(frame, name);
    setItemRecord(*placeholder, record);
    page.addObject(placeholder);
    return placeholder;
}

QList<CBaseObject*> LiveDocument::items() const
{
    QList<CBaseObject*> items;
    for (int i = 0; i < m_pages.pageCount(); ++i) {
        for (COVRootObject* object : m_pages.page(i)->objects()) {
            if (auto* item = dynamic_cast<CBaseObject*>(object))
                items << item;
        }
    }
    return items;
}

void LiveDocument::warn(const QString& text)
{
    m_warnings << text;
}

void LiveDocument::loadAll()
{
    for (int i = 0; i < m_pages.pageCount(); ++i)
        loadPage(*m_pages.page(i));
}

void LiveDocument::loadPage(COvPage& page)
{
    for (COVRootObject* object : page.objects()) {
        if (auto* placeholder = dynamic_cast<PlaceholderItem*>(object))
            load(*placeholder);
    }
}

void LiveDocument::load(PlaceholderItem& placeholder)
{
    if (placeholder.state() != PlaceholderItem::State::waiting)
        return;
    auto arriving = std::make_shared<Arriving>();
    arriving->placeholder = &placeholder;
    arriving->record = itemRecord(placeholder);
    const QString model = m_pages.root() + QLatin1Char('/') + arriving->record.model;
    if (arriving->record.model.isEmpty() || !isPlainRelativePath(arriving->record.model)) {
        fail(*arriving, QStringLiteral("has no model"));
        return;
    }
    if (!QFileInfo(model).isFile()) {
        fail(*arriving, QStringLiteral("is missing from the document"));
        return;
    }
    placeholder.showLoading();
    arriving->item = createHidden(placeholder.getObjRect());
    QJsonObject text = readableText(m_pages, arriving->record.entries, arriving->record.model);
    startLoad(arriving, [item = arriving->item, text](const std::atomic<bool>&) mutable {
        item->loadJson(text);
        return QString();
    });
}

LoaderThread::Id LiveDocument::insertModel(COvPage& page, const QString& model, const QRectF& frame, Arrival arrival)
{
    auto arriving = std::make_shared<Arriving>();
    arriving->isNew = true;
    arriving->arrival = std::move(arrival);
    PlaceholderItem* placeholder = addPlaceholder(page, {}, frame, QFileInfo(model).fileName());
    placeholder->showArriving();
    arriving->placeholder = placeholder;
    arriving->item = createHidden(frame);
    return startLoad(arriving, [this, model, arriving](const std::atomic<bool>& cancelled) {
        InsertedModel inserted;
        QString error = copyModelIn(m_pages, model, m_services.listFiles, cancelled, inserted);
        arriving->record.model = inserted.model;
        arriving->record.files = inserted.files;
        if (!error.isEmpty() || cancelled)
            return error;
        COVRootObject* root = arriving->item;
        if (!root->loadFromFile(m_pages.root() + QLatin1Char('/') + inserted.model))
            error = QStringLiteral("%1: was refused when it was loaded").arg(model);
        return error;
    });
}

CBaseObject* LiveDocument::createHidden(const QRectF& frame)
{
    CBaseObject* item = m_services.createItem();
    // Before the load: the item's frames never outgrow the size that it has then.
    item->setSize(frame.size(), false, false);
    item->setObjRect(QRectF(frame.topLeft(), item->getSize()));
    item->updateAfterObjRectChanged(item, false);
    item->setPage(&m_nursery);
    return item;
}

LoaderThread::Id LiveDocument::startLoad(std::shared_ptr<Arriving> arriving,
                                         std::function<QString(const std::atomic<bool>&)> work)
{
    return m_loader.add({std::move(work), [this, arriving](const QString& error, bool cancelled) {
                             finishLoad(*arriving, error, cancelled);
                         }});
}

void LiveDocument::finishLoad(Arriving& arriving, const QString& error, bool cancelled)
{
    arriving.item->setPage(nullptr);
    const bool isLoaded = !cancelled && error.isEmpty() && readSettings(*arriving.item);
    if (isLoaded && arriving.placeholder && arriving.placeholder->scene()) {
        show(arriving);
        return;
    }
    reapItem(std::exchange(arriving.item, nullptr));
    if (cancelled && !arriving.isNew) {
        if (auto* placeholder = dynamic_cast<PlaceholderItem*>(arriving.placeholder.data()))
            placeholder->showWaiting();
        return;
    }
    const QString reason = cancelled ? QStringLiteral("was cancelled") : whyNotLoaded(arriving.record, error);
    // An insertion's own errors name the file already; a placeholder says its name itself.
    const bool isNamed = !arriving.isNew || (!cancelled && !error.isEmpty());
    fail(arriving, isNamed ? reason : QStringLiteral("%1: %2").arg(itemName(arriving.record), reason));
}

/// @param error  what the loader said; empty when the item itself has refused the model.
QString LiveDocument::whyNotLoaded(const OvDocumentItem& record, const QString& error) const
{
    if (!error.isEmpty())
        return error;
    const QString reason = examineModelFile(m_pages.root() + QLatin1Char('/') + record.model).reason;
    return reason.isEmpty() ? QStringLiteral("cannot be loaded") : reason;
}

void LiveDocument::show(Arriving& arriving)
{
    CBaseObject* item = arriving.item;
    // The item's own text or stream has brought its rectangle; only the size that is set here reaches the viewer.
    item->setSize(item->getSize(), false, false);
    restoreState(*item, arriving.record);
    setItemRecord(*item, arriving.record);

    CBaseObject* placeholder = arriving.placeholder;
    for (int i = 0; i < m_pages.pageCount(); ++i) {
        COvPage* page = m_pages.page(i);
        if (page->scene() != placeholder->scene())
            continue;
        page->addObject(item);
        item->stackBefore(placeholder);
        Q_EMIT itemShown(placeholder, item);
        page->takeObject(placeholder);
    }
    placeholder->Release();
    if (arriving.arrival)
        arriving.arrival(item, {});
}

void LiveDocument::fail(Arriving& arriving, const QString& reason)
{
    auto* placeholder = dynamic_cast<PlaceholderItem*>(arriving.placeholder.data());
    if (arriving.isNew) {
        if (const QString folder = itemFolderOf(arriving.record.model); !folder.isEmpty())
            QDir(m_pages.root() + QLatin1Char('/') + folder).removeRecursively();
        if (placeholder)
            placeholder->Release();
    } else if (placeholder) {
        placeholder->showFailure(reason);
        warn(QStringLiteral("%1: %2").arg(itemName(arriving.record), reason));
        Q_EMIT itemFailed(placeholder, reason);
    }
    if (arriving.arrival)
        arriving.arrival(nullptr, reason);
}

/// What the item's own text and stream do not carry. In this order: nobody may change a locked item.
void LiveDocument::restoreState(CBaseObject& item, const OvDocumentItem& record)
{
    QStringList refusals;
    QJsonObject settings = allowedSettings(record.parameters, refusals);
    settings.remove(QStringLiteral("id"));
    settings.remove(QStringLiteral("reset_camera"));
    if (!settings.isEmpty()) {
        if (const QString error = changeSettings(item, settings); !error.isEmpty())
            refusals << error;
    }
    if (const QString environment = record.host.value(environmentKey()).toString(); !environment.isEmpty()) {
        if (const QString error = sendEnvironment(item, m_pages.root(), environment); !error.isEmpty())
            refusals << error;
    }
    for (const QString& refusal : refusals)
        warn(QStringLiteral("%1: %2").arg(itemName(record), refusal));
    item.setLocked(record.host.value(kLockedKey).toBool());
}

bool LiveDocument::saveItem(CBaseObject& item, OvDocumentItem& record, QString& error)
{
    record = itemRecord(item);
    if (dynamic_cast<PlaceholderItem*>(&item))
        return true;
    if (!saveItemState(item, m_pages.root(), record, error))
        return false;
    record.host.insert(QStringLiteral("type"), item.GetType());
    record.host.insert(kLockedKey, item.isLocked());
    setItemRecord(item, record);
    return true;
}

bool LiveDocument::collect(OvDocumentContent& content, QString& error)
{
    OvDocumentContent collected;
    collected.unknown = m_file->content().unknown;
    for (int i = 0; i < m_pages.pageCount(); ++i) {
        COvPage* page = m_pages.page(i);
        OvDocumentPage saved;
        saved.size = page->size();
        saved.unknown = page->scene()->property(kPageProperty).toJsonObject();
        for (COVRootObject* object : page->objects()) {
            auto* item = dynamic_cast<CBaseObject*>(object);
            auto* placeholder = dynamic_cast<PlaceholderItem*>(object);
            if (!item || (placeholder && placeholder->state() == PlaceholderItem::State::arriving))
                continue;
            OvDocumentItem record;
            if (!saveItem(*item, record, error))
                return false;
            saved.items.append(record);
        }
        collected.pages.append(saved);
    }
    content = collected;
    return true;
}

bool LiveDocument::save(const QString& path, QString& error)
{
    OvDocumentContent content;
    if (!collect(content, error))
        return false;
    const QImage preview = m_pages.pageCount() > 0 ? pagePreview(*m_pages.page(0)) : QImage();
    return m_file->save(path, content, preview, error);
}

} // namespace ov3d::apps
