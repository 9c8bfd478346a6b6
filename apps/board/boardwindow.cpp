#include "apps/board/boardwindow.h"

#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/board/placement.h"
#include "apps/common/modelfile.h"
#include "apps/common/plaintext.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

namespace ov3d::apps {

namespace {

constexpr QSizeF kPageSize(1920, 1080);
constexpr QSize kWindowSize(1280, 800);
constexpr QSizeF kInsertedSize(640, 480);

/// The pointer of a busy program for as long as it lives.
class BusyPointer
{
public:
    BusyPointer() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyPointer() { QApplication::restoreOverrideCursor(); }
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

} // namespace

BoardWindow::BoardWindow(const Services& services)
    : m_services(services)
    , m_document(services.documentFolder)
    , m_page(m_document.addPage(kPageSize))
{
    m_services.framework.setCurrentDocument(&m_document);
    m_view = new PageView(this);
    m_view->setPage(m_page);
    setCentralWidget(m_view);
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("statusText"));
    m_status->setTextFormat(Qt::PlainText);
    statusBar()->addWidget(m_status, 1);
    makeMenus();
    setWindowTitle(QStringLiteral("ov3dboard"));
    resize(kWindowSize);

    connect(m_view, &PageView::gestureStarted, this, &BoardWindow::say);
    connect(m_view, &PageView::gestureEnded, this, &BoardWindow::say);
    connect(m_view, &PageView::frameChanged, this, [](CBaseObject* item, const QRectF& before, const QRectF& after) {
        CUndoRedo::GetInstance()->push(new FrameCommand(item, before, after));
    });
    connect(m_document.undoStack(), &QUndoStack::indexChanged, this, &BoardWindow::updateActions);
    connect(m_page->scene(), &QGraphicsScene::selectionChanged, this, &BoardWindow::updateActions);
    updateActions();
    say(QStringLiteral("File > Insert model puts a 3D model on the page"));
}

BoardWindow::~BoardWindow()
{
    m_services.framework.setCurrentDocument(nullptr);
    // The view goes before the page's scene.
    delete m_view;
}

void BoardWindow::makeMenus()
{
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    QAction* insert = file->addAction(QStringLiteral("&Insert model..."), this, &BoardWindow::chooseModel);
    insert->setShortcut(QKeySequence::Open);
    QAction* quit = file->addAction(QStringLiteral("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));

    QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    QUndoStack* stack = m_document.undoStack();
    m_undo = edit->addAction(QStringLiteral("&Undo"), this, [this, stack] {
        const QString text = m_localize.text(stack->undoText());
        stack->undo();
        showUndoState(QStringLiteral("Undone"), text);
    });
    m_undo->setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    m_redo = edit->addAction(QStringLiteral("&Redo"), this, [this, stack] {
        const QString text = m_localize.text(stack->redoText());
        stack->redo();
        showUndoState(QStringLiteral("Redone"), text);
    });
    m_redo->setShortcuts({QKeySequence(QStringLiteral("Ctrl+Shift+Z")), QKeySequence(QStringLiteral("Ctrl+Y"))});
    edit->addSeparator();
    m_remove = edit->addAction(QStringLiteral("Re&move model"), this, &BoardWindow::removeSelected);
    m_remove->setShortcut(QKeySequence::Delete);
}

void BoardWindow::updateActions()
{
    const QUndoStack* stack = m_document.undoStack();
    m_undo->setEnabled(stack->canUndo());
    m_redo->setEnabled(stack->canRedo());
    m_remove->setEnabled(m_view->selectedItem() != nullptr);
    m_view->viewport()->update();
}

void BoardWindow::say(const QString& text)
{
    m_status->setText(oneLine(text));
}

void BoardWindow::showUndoState(const QString& verb, const QString& text)
{
    say(QStringLiteral("%1: %2").arg(verb, text));
}

void BoardWindow::complain(const QString& path, const QString& reason)
{
    ++m_failures;
    const QString text = QStringLiteral("%1: %2").arg(QFileInfo(path).fileName(), reason);
    m_complaint = text;
    say(text);
    m_services.streams.printErrorLine(QStringLiteral("ov3dboard: ") + text);
}

void BoardWindow::openModels(const QStringList& paths)
{
    const QVector<QRectF> places = placesOnPage(kPageSize, paths.size());
    CBaseObject* last = nullptr;
    for (int i = 0; i < paths.size(); ++i) {
        if (CBaseObject* item = loadModel(paths[i], places[i]))
            last = item;
    }
    if (last && paths.size() == 1)
        last->setSelected(true);
    // What went wrong is worth more than what went well after it.
    if (!m_complaint.isEmpty())
        say(m_complaint);
}

CBaseObject* BoardWindow::loadModel(const QString& path, const QRectF& place)
{
    const QString name = QFileInfo(path).fileName();
    say(QStringLiteral("Loading %1...").arg(name));
    const BusyPointer busy;
    // The load blocks this thread; the window is to show why.
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);

    const StandardStreams::Silence silence(m_services.streams);
    const ModelFileReport report = examineModelFile(path);
    const LinkFolder::Answer link = m_services.links.shortened(path);
    if (report.verdict != ModelFileReport::Verdict::accepted || link.path.isEmpty()) {
        complain(path, report.reason.isEmpty() ? link.error : report.reason);
        return nullptr;
    }
    m_names.insert(link.path, path);

    CBaseObject* item = m_services.plugin.createItem();
    item->setPage(m_page);
    applyFrame(*item, place);
    rememberFrameLimits(*item);
    COVRootObject* root = item;
    if (!root->loadFromFile(link.path)) {
        complain(path, QStringLiteral("was refused when it was loaded"));
        disposeInBackground(item);
        return nullptr;
    }
    m_page->addObject(item);
    say(QStringLiteral("%1: drag to turn it, wheel to zoom, right button to shift; the frame moves and resizes it")
            .arg(name));
    return item;
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
    CBaseObject* item = loadModel(path, place);
    if (!item)
        return;
    auto holder = std::make_shared<ItemHolder>(item);
    CUndoRedo::GetInstance()->push(new PresenceCommand(m_page, holder, PresenceCommand::Kind::insertion));
    m_page->scene()->clearSelection();
    item->setSelected(true);
}

void BoardWindow::removeSelected()
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    auto holder = std::make_shared<ItemHolder>(item);
    CUndoRedo::GetInstance()->push(new PresenceCommand(m_page, holder, PresenceCommand::Kind::removal));
    say(QStringLiteral("Removed the model; Ctrl+Z brings it back"));
}

void BoardWindow::report(const ViewerEvent& event)
{
    const QString path = m_names.value(event.model, event.model);
    if (event.kind == ViewerEvent::Kind::card)
        complain(path, event.reason);
    else if (event.kind == ViewerEvent::Kind::missing)
        say(QStringLiteral("%1: shown without %2")
                .arg(QFileInfo(path).fileName(), event.files.join(QStringLiteral(", "))));
}

} // namespace ov3d::apps
