#pragma once

#include "apps/common/linkfolder.h"
#include "apps/document/documentpages.h"
#include "apps/document/documentservices.h"
#include "apps/document/loaderthread.h"
#include "apps/document/saverthread.h"
#include "apps/document/workingdocument.h"
#include "host/document/documentfile.h"

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QRectF>
#include <QStringList>

#include <functional>
#include <memory>

class COvPage;

namespace ov3d::apps {

class PlaceholderItem;
struct ClippedItem;

/// A document that is open: its file, its pages with their items, and the one thread that loads them.
///
/// An item that is not loaded stands on its page as a placeholder, which the loaded item then replaces at the same
/// place and height. So pages can be shown, and documents saved, whatever is loaded; nobody can resize, lock, draw or
/// release an item while its load runs, since nobody has it.
///
/// A save reads the files of the working folder on a thread of its own, so nothing there is taken away or overwritten
/// while it runs, but for what it has read before. GUI thread.
class LiveDocument : public QObject
{
    Q_OBJECT

public:
    /// A new document without pages. @return null with `error` set.
    static std::unique_ptr<LiveDocument> create(DocumentServices services, QString& error);

    /// Opens a document file; every item is a placeholder until it is loaded. @return null with `error` naming the file
    /// and the reason.
    static std::unique_ptr<LiveDocument> open(const QString& path, DocumentServices services, QString& error);

    /// The same for a file that has been opened already, which a window does on another thread: unpacking takes long.
    /// Never null.
    static std::unique_ptr<LiveDocument> fromFile(std::unique_ptr<COvDocumentFile> file, DocumentServices services);

    /// Ends a load that is running; waits for a save; hands the items to the reaper; removes the working folder.
    ~LiveDocument() override;
    Q_DISABLE_COPY_MOVE(LiveDocument)

    [[nodiscard]] DocumentPages& pages() { return m_pages; }

    /// The working folder, by a path that is short enough for the viewer, and the undo stack.
    [[nodiscard]] COvDocument& working() { return m_working; }
    [[nodiscard]] const COvDocumentFile& file() const { return *m_file; }

    /// The text with files of the working folder, which nobody has chosen, named as the document names them.
    [[nodiscard]] QString withoutWorkingFolder(QString text) const;

    [[nodiscard]] LoaderThread& loader() { return m_loader; }

    COvPage* addPage(const QSizeF& size); ///< behind the others

    /// Every item of the document, pages in order, each from the lowest to the topmost; placeholders included.
    [[nodiscard]] QList<CBaseObject*> items() const;

    /// What was wrong with the document and its items so far, one line each.
    [[nodiscard]] QStringList warnings() const { return m_warnings; }

    // --- loading

    /// Queues the placeholders that wait: all of them, or those of one page, or one. A load that is cancelled leaves a
    /// placeholder that waits.
    void loadAll();
    void loadPage(COvPage& page);
    void load(PlaceholderItem& placeholder);

    /// Called once for an insertion or a paste, with the item on its page, or with null and the reason, which
    /// names the model. Also when the document is closed meanwhile.
    using Arrival = std::function<void(CBaseObject* item, const QString& error)>;

    /// Copies a model into the document and puts it on a page. What is refused leaves nothing behind.
    /// @return for LoaderThread::cancel().
    LoaderThread::Id insertModel(COvPage& page, const QString& model, const QRectF& frame, Arrival arrival);

    // --- items

    /// Lights an item with a copy of the user's environment picture (.hdr), or with none. @return an empty text, or why
    /// nothing has changed.
    QString setEnvironment(CBaseObject& item, const QString& path);

    /// The same with a picture that environmentOf() has named; it stays in the working folder for undo.
    QString returnToEnvironment(CBaseObject& item, const QString& file);

    /// The item's environment picture, relative to the working folder; empty for none.
    [[nodiscard]] static QString environmentOf(const CBaseObject& item);

    /// Copies items that have been loaded. @return the bytes for the clipboard (kItemClipType); empty with `error` set.
    QByteArray copyItems(const QList<CBaseObject*>& items, QString& error);

    /// Puts copied items on a page, shifted. `arrival` is called for each. @return an empty text, or why the bytes are
    /// refused.
    QString pasteItems(COvPage& page, const QByteArray& bytes, QPointF shift, Arrival arrival);

    // --- saving

    /// Asks every loaded item for its state, which takes long enough to be seen.
    /// @param pause  called between two items; it may run an event loop that takes no input. May be empty.
    /// @return false with `error` naming the item and the reason; the document is as it was.
    bool collect(OvDocumentSnapshot& snapshot, QString& error, const std::function<void()>& pause);

    /// Saves to a path. Blocks. @return false with `error` set; the old file is untouched then.
    bool save(const QString& path, QString& error);

    /// Asks the items for their state and begins to save it on another thread; saveEnded() tells how that went. What is
    /// changed once it has returned is not in the file. Waits for a save that runs already.
    /// @return false with `error` as collect() sets it; nothing has begun then.
    bool startSave(const QString& path, QString& error, const std::function<void()>& pause);

    /// From the moment at which the items are asked.
    [[nodiscard]] bool isSaving() const { return m_isCollecting || m_saver.isRunning(); }
    [[nodiscard]] bool isCollecting() const { return m_isCollecting; }
    [[nodiscard]] QString savingPath() const { return m_savingPath; } ///< empty when nothing is being saved

    /// Blocks until a save that runs has ended; saveEnded() has been emitted then.
    void finishSave();

Q_SIGNALS:
    /// The item has taken the placeholder's place; the placeholder ends right after.
    void itemShown(CBaseObject* placeholder, CBaseObject* item);

    /// Nothing will take the placeholder's place; it says why.
    void itemFailed(CBaseObject* placeholder, const QString& reason);

    /// What startSave() began is over. @param error  empty, or why the old file is still the one there is.
    void saveEnded(const QString& path, const QString& error);

    /// A line has been added to warnings(). Those of the file itself are there before anybody can listen.
    void warned(const QString& text);

private:
    LiveDocument(DocumentServices services, std::unique_ptr<COvDocumentFile> file);

    struct Arriving;

    /// What an item has handed over for a save.
    struct AskedItem
    {
        QPointer<CBaseObject> item; ///< null once it has gone
        OvDocumentItem record;
    };
    using AskedItems = QHash<const CBaseObject*, AskedItem>;

    void makePages();
    PlaceholderItem* addPlaceholder(COvPage& page, const OvDocumentItem& record, const QRectF& frame,
                                    const QString& name);
    CBaseObject* createHidden(const QRectF& frame);
    LoaderThread::Id startLoad(std::shared_ptr<Arriving> arriving,
                               std::function<QString(const std::atomic<bool>&)> work);
    void finishLoad(Arriving& arriving, const QString& error, bool cancelled);
    [[nodiscard]] QString whyNotLoaded(const OvDocumentItem& record, const QString& error) const;
    void show(Arriving& arriving);
    void fail(Arriving& arriving, const QString& reason);
    void restoreState(CBaseObject& item, const OvDocumentItem& record);
    bool saveItem(CBaseObject& item, OvDocumentItem& record, QString& error);
    [[nodiscard]] CBaseObject* nextToAsk(const AskedItems& asked) const;
    void takeSideFiles(const OvDocumentItem& record, OvDocumentSnapshot& snapshot) const;
    QString applyEnvironment(CBaseObject& item, const QString& file, const QString& shownName);
    bool clipItem(CBaseObject& item, ClippedItem& clip, qint64& room, QString& error);
    void pasteItem(COvPage& page, const ClippedItem& clip, QPointF shift, const Arrival& arrival);
    void warn(const QString& text);

    DocumentServices m_services;
    std::unique_ptr<COvDocumentFile> m_file;
    LinkFolder m_links;
    WorkingDocument m_working;
    DocumentPages m_pages;
    COvPage m_nursery; ///< the page of items while they are loaded: it outlives every page that may be removed
    LoaderThread m_loader;
    SaverThread m_saver;
    QString m_savingPath;
    bool m_isCollecting = false;
    QStringList m_warnings;
};

/// How the user knows an item: the name of its model.
QString itemName(const OvDocumentItem& record);

/// Longest side of an item in scene units: an item's frames have a pixel a unit.
inline constexpr double kMostItemSide = 8192;

/// The item's rectangle as its document keeps it, with sides of at most kMostItemSide; the rectangle of a new item when
/// it keeps none that is usable.
QRectF itemFrame(const OvDocumentItem& record);

/// A rectangle from anywhere, as an item may take it.
QRectF boundedFrame(const QRectF& frame);

/// Says so when itemFrame() is not what the document keeps; empty when it is, or when the document keeps none.
QString whyFrameChanged(const OvDocumentItem& record);

} // namespace ov3d::apps
