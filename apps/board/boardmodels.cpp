/// The models on the window's page: inserted, copied, changed.

#include "apps/board/boardwindow.h"
#include "apps/board/modelcommands.h"
#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/board/placement.h"
#include "apps/board/settingspanel.h"
#include "apps/board/settingwords.h"
#include "apps/document/itemclip.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>

namespace ov3d::apps {

namespace {

constexpr QSizeF kInsertedSize(640, 480);
constexpr QPointF kPasteShift(24, 24);

} // namespace

QList<CBaseObject*> BoardWindow::selectedItems() const
{
    QList<CBaseObject*> items;
    if (!m_page)
        return items;
    for (QGraphicsItem* selected : m_page->scene()->selectedItems()) {
        if (auto* item = dynamic_cast<CBaseObject*>(selected))
            items << item;
    }
    return items;
}

void BoardWindow::openModels(const QStringList& paths)
{
    const QVector<QRectF> places = placesOnPage(m_page->size(), paths.size());
    for (int i = 0; i < paths.size(); ++i)
        insert(paths[i], places[i], false);
}

void BoardWindow::chooseModel()
{
    const QString path = QFileDialog::getOpenFileName(
        this, QStringLiteral("Insert model"), QDir::homePath(),
        QStringLiteral("3D models (*.fbx *.FBX *.obj *.OBJ *.gltf *.GLTF *.stl *.STL *.glb *.GLB *.3mf *.3MF)"));
    if (path.isEmpty())
        return;
    QRectF place(QPointF(0, 0), kInsertedSize);
    place.moveCenter(m_page->scene()->sceneRect().center());
    insert(path, place, true);
}

void BoardWindow::insert(const QString& path, const QRectF& place, bool undoable)
{
    say(QStringLiteral("Loading %1...").arg(QFileInfo(path).fileName()));
    m_document->insertModel(*m_page, path, place, [this, undoable](CBaseObject* item, const QString& error) {
        itemArrived(item, error, undoable);
    });
}

void BoardWindow::itemArrived(CBaseObject* item, const QString& error, bool undoable)
{
    if (!item) {
        complain(error);
        return;
    }
    COvPage* page = dynamic_cast<COvPage*>(item->GetPage());
    if (undoable && page)
        CUndoRedo::GetInstance()->push(
            new PresenceCommand(page, ItemHolder::of(item), PresenceCommand::Kind::insertion));
    if (!undoable)
        m_document->working().undoStack()->resetClean(); // it may have been saved without this item
    item->scene()->clearSelection();
    item->setSelected(true);
    if (m_failures == 0 && !item->isLocked())
        say(QStringLiteral("%1: drag to turn it, wheel to zoom, right button to shift; the frame moves and resizes it")
                .arg(itemName(itemRecord(*item))));
}

void BoardWindow::removeSelected()
{
    for (CBaseObject* item : selectedItems()) {
        if (item->isLocked()) {
            say(QStringLiteral("A locked model is not removed; Model > Locked unlocks it"));
            continue;
        }
        CUndoRedo::GetInstance()->push(
            new PresenceCommand(m_page, ItemHolder::of(item), PresenceCommand::Kind::removal));
        say(QStringLiteral("Removed the model; Ctrl+Z brings it back"));
    }
}

QByteArray BoardWindow::clipOfSelected()
{
    QString error;
    const StandardStreams::Silence silence(m_services.streams);
    const QByteArray bytes = m_document->copyItems(selectedItems(), error);
    if (bytes.isEmpty())
        say(error);
    return bytes;
}

void BoardWindow::copySelected()
{
    const QByteArray bytes = clipOfSelected();
    if (bytes.isEmpty())
        return;
    auto* clip = new QMimeData;
    clip->setData(QString::fromLatin1(kItemClipType), bytes);
    QApplication::clipboard()->setMimeData(clip);
    say(QStringLiteral("Copied"));
}

void BoardWindow::cutSelected()
{
    const QMimeData* before = QApplication::clipboard()->mimeData();
    copySelected();
    // What could not be copied stays.
    if (QApplication::clipboard()->mimeData() != before)
        removeSelected();
}

bool BoardWindow::takeClip(const QByteArray& bytes)
{
    const QString error =
        m_document->pasteItems(*m_page, bytes, kPasteShift,
                               [this](CBaseObject* item, const QString& reason) { itemArrived(item, reason, true); });
    if (!error.isEmpty())
        say(error);
    return error.isEmpty();
}

void BoardWindow::paste()
{
    const QMimeData* clip = QApplication::clipboard()->mimeData();
    if (clip && clip->hasFormat(QString::fromLatin1(kItemClipType)))
        takeClip(clip->data(QString::fromLatin1(kItemClipType)));
    else
        say(QStringLiteral("There is no model on the clipboard"));
}

void BoardWindow::duplicateSelected()
{
    const QByteArray bytes = clipOfSelected();
    if (!bytes.isEmpty())
        takeClip(bytes);
}

void BoardWindow::changeSetting(const QString& key, const QJsonValue& value)
{
    CBaseObject* item = m_view->selectedItem();
    const auto before = item ? readSettings(*item) : std::nullopt;
    if (!before)
        return;
    const KeptView view = movesCamera(key) ? KeptView::of(*item) : KeptView();
    const QString error = changeSettings(*item, {{key, value}});
    const auto after = readSettings(*item);
    if (!error.isEmpty() || !after || differingSettings(*after, *before).isEmpty()) {
        say(error.isEmpty() ? QStringLiteral("%1 stays as it is").arg(settingTitle(key)) : error);
        m_settings->showItem(item);
        return;
    }
    CUndoRedo::GetInstance()->push(new SettingsCommand(*item, key, *before, *after, view));
}

void BoardWindow::lockSelected(bool locked)
{
    CBaseObject* item = m_view->selectedItem();
    if (!item || item->isLocked() == locked)
        return;
    CUndoRedo::GetInstance()->push(new LockCommand(item, locked));
    say(locked ? QStringLiteral("The model is locked: it can be looked at and copied, not changed")
               : QStringLiteral("The model can be changed again"));
}

} // namespace ov3d::apps
