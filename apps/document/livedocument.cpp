#include "apps/document/livedocument.h"

#include "apps/common/modelfile.h"
#include "apps/document/environmentpicture.h"
#include "apps/document/itementries.h"
#include "apps/document/itemfolder.h"
#include "apps/document/itemreaper.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/itemstate.h"
#include "apps/document/livedocumentprivate.h"
#include "apps/document/placeholderitem.h"
#include "host/document/temporaryfolder.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ov3d::apps {

namespace {

constexpr QSizeF kNurserySize(1, 1);
constexpr QLatin1String kPreviewSuffix("_3dpreview.png");
constexpr double kFrameWidth = 1280; ///< an item's own first size
constexpr double kFrameHeight = 960;

/// A viewer gets paths of at most kMaxPathBytes. Where the working folder's own leaves too little for the models,
/// they are reached through a short link to it.
QString rootOf(const COvDocumentFile& file, LinkFolder& links)
{
    int longest = kMostModelPathBytes;
    for (const OvDocumentPage& page : file.content().pages) {
        for (const OvDocumentItem& item : page.items)
            longest = std::max(longest, item.model.toLocal8Bit().size());
    }
    const QString folder = file.workingFolder();
    if (folder.toLocal8Bit().size() + 1 + longest <= kMaxPathBytes)
        return folder;
    const QString link = links.linkTo(folder);
    return link.isEmpty() || link.toLocal8Bit().size() > folder.toLocal8Bit().size() ? folder : link;
}

/// Empty when the path reaches a viewer whole.
QString whyPathRefused(const QString& path)
{
    const int bytes = path.toLocal8Bit().size();
    return bytes <= kMaxPathBytes ? QString()
                                  : QStringLiteral("has too long a path here (%1 bytes; at most %2 can be shown)")
                                        .arg(bytes)
                                        .arg(kMaxPathBytes);
}

} // namespace

QString itemName(const OvDocumentItem& record)
{
    return record.model.isEmpty() ? QStringLiteral("an item without a model") : QFileInfo(record.model).fileName();
}

QRectF itemFrame(const OvDocumentItem& record)
{
    const QJsonArray numbers = record.entries.value(kRectKey).toArray();
    const auto number = [&numbers](int i) { return numbers.at(i).toDouble(); };
    return boundedFrame(numbers.size() == 4 ? QRectF(number(0), number(1), number(2), number(3)) : QRectF());
}

QJsonArray arrayOf(const QRectF& frame)
{
    return {frame.x(), frame.y(), frame.width(), frame.height()};
}

QRectF boundedFrame(const QRectF& frame)
{
    // A document may come from anywhere, and a page has no use for an item of millions.
    constexpr double kMost = 1e6;
    const bool isUsable = std::abs(frame.x()) <= kMost && std::abs(frame.y()) <= kMost && frame.width() >= 1 &&
                          frame.width() <= kMost && frame.height() >= 1 && frame.height() <= kMost;
    if (!isUsable)
        return {0, 0, kFrameWidth, kFrameHeight};
    const double scale = std::min(1.0, kMostItemSide / std::max(frame.width(), frame.height()));
    return {frame.x(), frame.y(), std::max(1.0, frame.width() * scale), std::max(1.0, frame.height() * scale)};
}

QString whyFrameChanged(const OvDocumentItem& record)
{
    const QJsonValue kept = record.entries.value(kRectKey);
    const QRectF frame = itemFrame(record);
    if (kept.isUndefined() || kept.toArray() == arrayOf(frame))
        return {};
    return QStringLiteral("%1: its rectangle in the document cannot be used; it takes %2 x %3")
        .arg(itemName(record))
        .arg(frame.width())
        .arg(frame.height());
}

LiveDocument::LiveDocument(DocumentServices services, std::unique_ptr<COvDocumentFile> file)
    : m_services(std::move(services))
    , m_file(std::move(file))
    , m_links(document::temporaryFolder() + QLatin1Char('/'), QStringLiteral("ov3d-links-"))
    , m_working(rootOf(*m_file, m_links))
    , m_pages(m_working)
    , m_nursery(&m_working, kNurserySize)
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
    return file ? fromFile(std::move(file), std::move(services)) : nullptr;
}

std::unique_ptr<LiveDocument> LiveDocument::fromFile(std::unique_ptr<COvDocumentFile> file, DocumentServices services)
{
    std::unique_ptr<LiveDocument> document(new LiveDocument(std::move(services), std::move(file)));
    document->makePages();
    return document;
}

LiveDocument::~LiveDocument()
{
    m_loader.cancelAll();
    m_loader.wait();
    finishSave();
    // Commands may hold items that have been taken off a page, and pages.
    m_working.undoStack()->clear();
}

COvPage* LiveDocument::addPage(const QSizeF& size)
{
    const SharedPage page = m_pages.makePage(size);
    m_pages.insertPage(m_pages.pageCount(), page);
    return page.get();
}

void LiveDocument::makePages()
{
    for (const OvDocumentPage& saved : m_file->content().pages) {
        COvPage* page = addPage(saved.size);
        page->scene()->setProperty(kPageProperty, saved.unknown);
        for (const OvDocumentItem& record : saved.items) {
            addPlaceholder(*page, record, itemFrame(record), itemName(record));
            if (const QString change = whyFrameChanged(record); !change.isEmpty())
                warn(change);
        }
    }
}

PlaceholderItem* LiveDocument::addPlaceholder(COvPage& page, const OvDocumentItem& record, const QRectF& frame,
                                              const QString& name)
{
    auto* placeholder = new PlaceholderItem(frame, name);
    setItemRecord(*placeholder, record);
    for (const QString& file : entryFiles(itemEntries(record.entries))) {
        if (file.endsWith(kPreviewSuffix))
            placeholder->setPicture(m_working.root() + QLatin1Char('/') + file);
    }
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
    Q_EMIT warned(text);
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
    const QString model = m_working.root() + QLatin1Char('/') + arriving->record.model;
    if (arriving->record.model.isEmpty() || !isPlainRelativePath(arriving->record.model)) {
        fail(*arriving, QStringLiteral("has no model"));
        return;
    }
    if (!QFileInfo(model).isFile()) {
        fail(*arriving, QStringLiteral("is missing from the document"));
        return;
    }
    if (const QString reason = whyPathRefused(model); !reason.isEmpty()) {
        fail(*arriving, reason);
        return;
    }
    placeholder.showLoading();
    arriving->item = createHidden(placeholder.getObjRect());
    QJsonObject text = readableText(m_working, arriving->record.entries, arriving->record.model);
    // The item believes its own text, so that has to say what has been accepted.
    if (!whyFrameChanged(arriving->record).isEmpty())
        text.insert(kRectKey, arrayOf(itemFrame(arriving->record)));
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
        QString error = copyModelIn(m_working, model, m_services.listFiles, cancelled, inserted);
        arriving->record.model = inserted.model;
        arriving->record.files = inserted.files;
        if (!error.isEmpty() || cancelled)
            return error;
        const QString path = m_working.root() + QLatin1Char('/') + inserted.model;
        COVRootObject* root = arriving->item;
        if (const QString reason = whyPathRefused(path); !reason.isEmpty())
            error = QStringLiteral("%1: %2").arg(model, reason);
        else if (!root->loadFromFile(path))
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
    const QString reason = examineModelFile(m_working.root() + QLatin1Char('/') + record.model).reason;
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
            QDir(m_working.root() + QLatin1Char('/') + folder).removeRecursively();
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
QString LiveDocument::withoutWorkingFolder(QString text) const
{
    // The viewer knows it by a shorter path.
    return text.remove(m_working.root() + QLatin1Char('/')).remove(m_file->workingFolder() + QLatin1Char('/'));
}

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
        // Of the item's own files alone: a document may name any file of this machine's.
        const QString folder = itemFolderOf(record.model);
        const bool isOwn = isPlainRelativePath(environment) && itemFolderOf(environment) == folder;
        const QString path = m_working.root() + QLatin1Char('/') + environment;
        QString error = isOwn ? whyNoEnvironment(path) : QStringLiteral("%1: is no file of the item").arg(environment);
        if (error.isEmpty())
            error = sendEnvironment(item, path, environment);
        if (!error.isEmpty())
            refusals << error;
    }
    for (const QString& refusal : refusals)
        warn(QStringLiteral("%1: %2").arg(itemName(record), withoutWorkingFolder(refusal)));
    item.setLocked(record.host.value(kLockedKey).toBool());
}

} // namespace ov3d::apps
