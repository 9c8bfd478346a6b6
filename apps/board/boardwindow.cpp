#include "apps/board/boardwindow.h"

#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/board/settingspanel.h"
#include "apps/common/plaintext.h"
#include "viewer/session/commands.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QStatusBar>
#include <QToolButton>

namespace ov3d::apps {

namespace {

constexpr QSize kWindowSize(1280, 800);
constexpr int kProgressWidth = 160;

struct NamedView
{
    const char* name; ///< as the viewer knows it
    const char* text;
    const char* shortcut;
};

constexpr NamedView kViews[] = {
    {"front", "&Front", "Ctrl+1"}, {"back", "&Back", "Ctrl+2"},     {"left", "&Left", "Ctrl+3"},
    {"right", "&Right", "Ctrl+4"}, {"top", "&Top", "Ctrl+5"},       {"bottom", "B&ottom", "Ctrl+6"},
    {"isometric", "&Isometric", "Ctrl+7"},
};

} // namespace

BoardWindow::BoardWindow(const Services& services)
    : m_services(services)
    , m_view(new PageView(this))
    , m_settings(new SettingsPanel(this))
{
    setCentralWidget(m_view);
    auto* dock = new QDockWidget(QStringLiteral("Settings"), this);
    dock->setObjectName(QStringLiteral("settingsDock"));
    dock->setWidget(m_settings);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    makeStatusBar();
    makeFileMenu();
    makeEditMenu();
    makePageMenu();
    makeModelMenu();
    QMenu* window = menuBar()->addMenu(QStringLiteral("&Window"));
    window->addAction(dock->toggleViewAction());
    resize(kWindowSize);

    connect(m_view, &PageView::gestureStarted, this, &BoardWindow::say);
    connect(m_view, &PageView::gestureEnded, this, &BoardWindow::say);
    connect(m_view, &PageView::frameChanged, this, [](CBaseObject* item, const QRectF& before, const QRectF& after) {
        CUndoRedo::GetInstance()->push(new FrameCommand(item, before, after));
    });
    connect(m_settings, &SettingsPanel::changed, this, &BoardWindow::changeSetting);
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this, &BoardWindow::updateActions);
    newDocument();
    say(QStringLiteral("File > Insert model puts a 3D model on the page"));
}

BoardWindow::~BoardWindow()
{
    closeDocument();
    m_services.framework.setCurrentDocument(nullptr);
}

void BoardWindow::makeStatusBar()
{
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("statusText"));
    m_status->setTextFormat(Qt::PlainText);
    // A long message must not widen the window.
    m_status->setMinimumWidth(1);
    m_status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusBar()->addWidget(m_status, 1);
    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("loadProgress"));
    m_progress->setFixedWidth(kProgressWidth);
    m_cancel = new QToolButton(this);
    m_cancel->setObjectName(QStringLiteral("cancelLoading"));
    m_cancel->setText(QStringLiteral("Cancel"));
    connect(m_cancel, &QToolButton::clicked, this, &BoardWindow::cancelLoading);
    m_pageNumber = new QLabel(this);
    m_pageNumber->setObjectName(QStringLiteral("pageNumber"));
    for (QWidget* widget : {static_cast<QWidget*>(m_progress), static_cast<QWidget*>(m_cancel)}) {
        statusBar()->addPermanentWidget(widget);
        widget->hide();
    }
    statusBar()->addPermanentWidget(m_pageNumber);
}

QAction* BoardWindow::addAction(QMenu& menu, const QString& text, const QKeySequence& shortcut,
                                void (BoardWindow::*slot)())
{
    QAction* action = menu.addAction(text, this, slot);
    action->setShortcut(shortcut);
    return action;
}

void BoardWindow::makeFileMenu()
{
    QMenu& menu = *menuBar()->addMenu(QStringLiteral("&File"));
    addAction(menu, QStringLiteral("&New"), QKeySequence::New, &BoardWindow::newDocument);
    addAction(menu, QStringLiteral("&Open..."), QKeySequence::Open, &BoardWindow::chooseDocument);
    QAction* save = menu.addAction(QStringLiteral("&Save"), this, [this] { saveInPlace(); });
    save->setShortcut(QKeySequence::Save);
    QAction* saveAs = menu.addAction(QStringLiteral("Save &as..."), this, [this] { chooseFileAndSave(); });
    saveAs->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    menu.addSeparator();
    addAction(menu, QStringLiteral("&Insert model..."), QKeySequence(QStringLiteral("Ctrl+I")),
              &BoardWindow::chooseModel);
    menu.addSeparator();
    QAction* quit = menu.addAction(QStringLiteral("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
}

void BoardWindow::makeEditMenu()
{
    QMenu& menu = *menuBar()->addMenu(QStringLiteral("&Edit"));
    m_undo = menu.addAction(QStringLiteral("&Undo"), this, [this] { undoOrRedo(true); });
    m_undo->setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    m_redo = menu.addAction(QStringLiteral("&Redo"), this, [this] { undoOrRedo(false); });
    m_redo->setShortcuts({QKeySequence(QStringLiteral("Ctrl+Shift+Z")), QKeySequence(QStringLiteral("Ctrl+Y"))});
    menu.addSeparator();
    m_selectionActions << addAction(menu, QStringLiteral("Cu&t"), QKeySequence::Cut, &BoardWindow::cutSelected)
                       << addAction(menu, QStringLiteral("&Copy"), QKeySequence::Copy, &BoardWindow::copySelected);
    addAction(menu, QStringLiteral("&Paste"), QKeySequence::Paste, &BoardWindow::paste);
    m_selectionActions << addAction(menu, QStringLiteral("&Duplicate"), QKeySequence(QStringLiteral("Ctrl+D")),
                                    &BoardWindow::duplicateSelected)
                       << addAction(menu, QStringLiteral("Re&move model"), QKeySequence::Delete,
                                    &BoardWindow::removeSelected);
}

void BoardWindow::makePageMenu()
{
    QMenu& menu = *menuBar()->addMenu(QStringLiteral("&Page"));
    const auto leaf = [this](int step) {
        for (int i = 0; i < m_document->pages().pageCount(); ++i) {
            if (m_document->pages().page(i) == m_page) {
                showPage(i + step);
                return;
            }
        }
    };
    QAction* previous = menu.addAction(QStringLiteral("&Previous page"), this, [leaf] { leaf(-1); });
    previous->setShortcut(QKeySequence(Qt::Key_PageUp));
    QAction* next = menu.addAction(QStringLiteral("&Next page"), this, [leaf] { leaf(1); });
    next->setShortcut(QKeySequence(Qt::Key_PageDown));
    addAction(menu, QStringLiteral("&Add page"), QKeySequence(QStringLiteral("Ctrl+Shift+N")), &BoardWindow::addPage);
}

void BoardWindow::makeModelMenu()
{
    QMenu& menu = *menuBar()->addMenu(QStringLiteral("&Model"));
    for (const NamedView& view : kViews) {
        const QString name = QString::fromLatin1(view.name);
        QAction* action = menu.addAction(QString::fromLatin1(view.text), this, [this, name] {
            changeView(kCommandShowView, name, QStringLiteral("View from the %1").arg(name));
        });
        action->setShortcut(QKeySequence(QString::fromLatin1(view.shortcut)));
        m_selectionActions << action;
    }
    QAction* reset = menu.addAction(QStringLiteral("R&eset the view"), this, [this] {
        changeView(kCommandReset, {}, QStringLiteral("Reset the view"));
    });
    reset->setShortcut(QKeySequence(QStringLiteral("Ctrl+0")));
    menu.addSeparator();
    m_selectionActions << reset
                       << addAction(menu, QStringLiteral("&Keep the view..."), {}, &BoardWindow::keepView);
    m_keptViews = menu.addMenu(QStringLiteral("Ret&urn to"));
    connect(m_keptViews, &QMenu::aboutToShow, this, &BoardWindow::fillKeptViews);
    menu.addSeparator();
    m_selectionActions << m_keptViews->menuAction()
                       << addAction(menu, QStringLiteral("Environment &picture..."), {},
                                    &BoardWindow::chooseEnvironment)
                       << addAction(menu, QStringLiteral("&Without environment picture"), {},
                                    &BoardWindow::removeEnvironment);
    menu.addSeparator();
    m_selectionActions << addAction(menu, QStringLiteral("&Save the picture..."), {}, &BoardWindow::savePicture)
                       << addAction(menu, QStringLiteral("Facts about the &model..."), {}, &BoardWindow::showFacts);
}

void BoardWindow::undoOrRedo(bool undo)
{
    QUndoStack* stack = m_document->pages().undoStack();
    const QString text = m_localize.text(undo ? stack->undoText() : stack->redoText());
    undo ? stack->undo() : stack->redo();
    say(QStringLiteral("%1: %2").arg(undo ? QStringLiteral("Undone") : QStringLiteral("Redone"), text));
}

void BoardWindow::updateActions()
{
    if (!m_document)
        return;
    const QUndoStack* stack = m_document->pages().undoStack();
    m_undo->setEnabled(stack->canUndo());
    m_redo->setEnabled(stack->canRedo());
    const bool isSelected = !selectedItems().isEmpty();
    for (QAction* action : m_selectionActions)
        action->setEnabled(isSelected);
    m_settings->showItem(m_view->selectedItem());
    updateTitle();
    m_view->viewport()->update();
}

void BoardWindow::say(const QString& text)
{
    m_status->setText(oneLine(text));
    m_status->setToolTip(text);
}

void BoardWindow::complain(const QString& text)
{
    ++m_failures;
    say(text);
    m_services.streams.printErrorLine(QStringLiteral("ov3dboard: ") + text);
}

void BoardWindow::showPage(int index)
{
    COvDocument& pages = m_document->pages();
    COvPage* page = pages.page(index);
    if (!page)
        return;
    if (m_page)
        disconnect(m_page->scene(), nullptr, this, nullptr);
    m_page = page;
    m_view->setPage(page);
    connect(page->scene(), &QGraphicsScene::selectionChanged, this, &BoardWindow::updateActions);
    m_document->loadPage(*page);
    m_pageNumber->setText(QStringLiteral("Page %1 of %2").arg(index + 1).arg(pages.pageCount()));
    updateActions();
}

void BoardWindow::addPage()
{
    m_document->addPage(m_page->size());
    // Nothing undoes a new page, but the document has changed.
    m_document->pages().undoStack()->resetClean();
    showPage(m_document->pages().pageCount() - 1);
}

void BoardWindow::report(const ViewerEvent& event)
{
    const QString name = event.model.section(QLatin1Char('/'), -1);
    if (event.kind == ViewerEvent::Kind::card)
        complain(QStringLiteral("%1: %2").arg(name, event.reason));
    else if (event.kind == ViewerEvent::Kind::missing)
        say(QStringLiteral("%1: shown without %2").arg(name, event.files.join(QStringLiteral(", "))));
    else if (event.kind == ViewerEvent::Kind::note)
        say(QStringLiteral("%1: %2").arg(name, event.reason));
}

} // namespace ov3d::apps
