/// The models on the window's page: inserted, copied, looked at, changed.

#include "apps/board/boardwindow.h"
#include "apps/board/modelcommands.h"
#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/board/placement.h"
#include "apps/board/settingspanel.h"
#include "apps/document/itemclip.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/viewercommand.h"
#include "viewer/session/commands.h"

#include <QClipboard>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>

namespace ov3d::apps {

namespace {

constexpr QSizeF kInsertedSize(640, 480);
constexpr QPointF kPasteShift(24, 24);
constexpr const char* kKeptViewsProperty = "ov3dKeptViewNames";

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
    rememberFrameLimits(*item);
    COvPage* page = dynamic_cast<COvPage*>(item->GetPage());
    if (undoable && page)
        CUndoRedo::GetInstance()->push(
            new PresenceCommand(page, std::make_shared<ItemHolder>(item), PresenceCommand::Kind::insertion));
    item->scene()->clearSelection();
    item->setSelected(true);
    if (m_failures == 0)
        say(QStringLiteral("%1: drag to turn it, wheel to zoom, right button to shift; the frame moves and resizes it")
                .arg(itemName(itemRecord(*item))));
}

void BoardWindow::removeSelected()
{
    for (CBaseObject* item : selectedItems())
        CUndoRedo::GetInstance()->push(
            new PresenceCommand(m_page, std::make_shared<ItemHolder>(item), PresenceCommand::Kind::removal));
    say(QStringLiteral("Removed the model; Ctrl+Z brings it back"));
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
        m_document->pasteItems(*m_page, bytes, kPasteShift, [this](CBaseObject* item, const QString& reason) {
            itemArrived(item, reason, true);
        });
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
    const auto settings = item ? readSettings(*item) : std::nullopt;
    if (!settings)
        return;
    const KeptView view = movesCamera(key) ? KeptView::of(*item) : KeptView();
    const QJsonObject changes{{key, value}};
    if (const QString error = changeSettings(*item, changes); !error.isEmpty()) {
        say(error);
        m_settings->showItem(item);
        return;
    }
    CUndoRedo::GetInstance()->push(new SettingsCommand(*item, {{key, settings->value(key)}}, changes, view));
}

void BoardWindow::changeView(int code, const QString& text, const QString& name)
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    const KeptView before = KeptView::of(*item);
    if (const QString error = sendViewerCommand(*item, code, text); !error.isEmpty()) {
        say(error);
        return;
    }
    CUndoRedo::GetInstance()->push(new ViewCommand(*item, before, name));
    say(name);
}

void BoardWindow::keepView()
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    const QString name =
        QInputDialog::getText(this, QStringLiteral("Keep the view"), QStringLiteral("Name of the view:")).trimmed();
    if (name.isEmpty())
        return;
    if (const QString error = sendViewerCommand(*item, kCommandKeepView, name); !error.isEmpty()) {
        say(error);
        return;
    }
    QStringList names = item->property(kKeptViewsProperty).toStringList();
    names.removeAll(name);
    item->setProperty(kKeptViewsProperty, names << name);
    say(QStringLiteral("Model > Return to > %1 brings this view back").arg(name));
}

void BoardWindow::fillKeptViews()
{
    m_keptViews->clear();
    const CBaseObject* item = m_view->selectedItem();
    const QStringList names = item ? item->property(kKeptViewsProperty).toStringList() : QStringList();
    for (const QString& name : names)
        m_keptViews->addAction(name, this, [this, name] {
            changeView(kCommandReturnToView, name, QStringLiteral("Return to %1").arg(name));
        });
    if (names.isEmpty())
        m_keptViews->addAction(QStringLiteral("No view has been kept"))->setEnabled(false);
}

void BoardWindow::savePicture()
{
    CBaseObject* item = m_view->selectedItem();
    QFileDialog dialog(this, QStringLiteral("Save the picture"), QDir::homePath(), QStringLiteral("Pictures (*.png)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("png"));
    if (!item || dialog.exec() != QDialog::Accepted)
        return;
    const QString path = dialog.selectedFiles().constFirst();
    const QString error = sendViewerCommand(*item, kCommandSavePicture, path);
    say(error.isEmpty() ? QStringLiteral("Saved %1").arg(QFileInfo(path).fileName())
                        : QStringLiteral("%1: %2").arg(path, error));
}

void BoardWindow::showFacts()
{
    CBaseObject* item = m_view->selectedItem();
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("facts.json"));
    const QString error = item ? sendViewerCommand(*item, kCommandReportFacts, path) : QString();
    QFile file(path);
    if (!item || !error.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        say(error);
        return;
    }
    QMessageBox box(QMessageBox::Information, QStringLiteral("Facts about the model"),
                    itemName(itemRecord(*item)), QMessageBox::Close, this);
    box.setInformativeText(QString::fromUtf8(file.readAll()));
    box.exec();
}

void BoardWindow::chooseEnvironment()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Environment picture"), QDir::homePath(),
                                                      QStringLiteral("Radiance pictures (*.hdr)"));
    if (!path.isEmpty())
        setEnvironment(path);
}

void BoardWindow::removeEnvironment()
{
    setEnvironment({});
}

void BoardWindow::setEnvironment(const QString& path)
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    const QString error = m_document->setEnvironment(*item, path);
    if (!error.isEmpty()) {
        say(error);
        return;
    }
    // No step of undo stands for it, but it is a change all the same.
    m_document->pages().undoStack()->resetClean();
    say(path.isEmpty() ? QStringLiteral("Without an environment picture")
                       : QStringLiteral("Lit by %1").arg(QFileInfo(path).fileName()));
}

} // namespace ov3d::apps
