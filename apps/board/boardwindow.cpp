#include "apps/board/boardwindow.h"

#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/board/settingspanel.h"
#include "apps/common/plaintext.h"
#include "apps/document/placeholderitem.h"

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

} // namespace

BoardWindow::BoardWindow(const Services& services, std::unique_ptr<LiveDocument> document)
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
    menuBar()->addMenu(QStringLiteral("&Window"))->addAction(dock->toggleViewAction());
    resize(kWindowSize);

    connect(m_view, &PageView::gestureStarted, this, &BoardWindow::say);
    connect(m_view, &PageView::gestureEnded, this, &BoardWindow::say);
    connect(m_view, &PageView::frameChanged, this, [](CBaseObject* item, const QRectF& before, const QRectF& after) {
        CUndoRedo::GetInstance()->push(new FrameCommand(item, before, after));
    });
    connect(m_settings, &SettingsPanel::changed, this, &BoardWindow::changeSetting);
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this, &BoardWindow::updateActions);
    adopt(std::move(document));
    say(QStringLiteral("File > Insert model puts a 3D model on the page"));
}

BoardWindow::~BoardWindow()
{
    closeDocument();
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
    m_saving = new QLabel(this);
    m_saving->setObjectName(QStringLiteral("saving"));
    m_saving->setTextFormat(Qt::PlainText);
    m_pageNumber = new QLabel(this);
    m_pageNumber->setObjectName(QStringLiteral("pageNumber"));
    for (QWidget* widget :
         {static_cast<QWidget*>(m_saving), static_cast<QWidget*>(m_progress), static_cast<QWidget*>(m_cancel)}) {
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
    QAction* save = menu.addAction(QStringLiteral("&Save"), this, [this] { startSaving(fileToSave()); });
    save->setShortcut(QKeySequence::Save);
    QAction* saveAs = menu.addAction(QStringLiteral("Save &as..."), this, [this] { startSaving(chooseFileToSave()); });
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

void BoardWindow::undoOrRedo(bool undo)
{
    QUndoStack* stack = m_document->working().undoStack();
    const auto* pageStep =
        dynamic_cast<const PagePresenceCommand*>(stack->command(undo ? stack->index() - 1 : stack->index()));
    if (const COvPage* page = pageStep ? pageStep->pageTakenBy(undo) : nullptr; page && !mayTakePage(*page))
        return;
    const QString text = m_localize.text(undo ? stack->undoText() : stack->redoText());
    const int steps = stack->count();
    undo ? stack->undo() : stack->redo();
    if (stack->count() < steps)
        say(QStringLiteral("%1: the view is too long ago and no longer kept").arg(text));
    else
        say(QStringLiteral("%1: %2").arg(undo ? QStringLiteral("Undone") : QStringLiteral("Redone"), text));
}

void BoardWindow::updateActions()
{
    if (!m_document)
        return;
    const QUndoStack* stack = m_document->working().undoStack();
    m_undo->setEnabled(stack->canUndo());
    m_redo->setEnabled(stack->canRedo());
    const bool isSelected = !selectedItems().isEmpty();
    for (QAction* action : m_selectionActions)
        action->setEnabled(isSelected);
    const CBaseObject* item = m_view->selectedItem();
    m_locked->setEnabled(item && !dynamic_cast<const PlaceholderItem*>(item));
    m_locked->setChecked(item && item->isLocked());
    m_removePage->setEnabled(m_document->pages().pageCount() > 1);
    m_loadRest->setEnabled(!placeholders(PlaceholderItem::State::waiting).isEmpty());
    m_settings->showItem(m_view->selectedItem());
    updateTitle();
    m_view->viewport()->update();
}

void BoardWindow::say(const QString& text)
{
    m_complaints.clear();
    m_status->setText(oneLine(text));
    m_status->setToolTip(text);
}

void BoardWindow::complain(const QString& text)
{
    ++m_failures;
    m_complaints << text;
    const int others = m_complaints.size() - 1;
    m_status->setText(oneLine(others == 0 ? text : QStringLiteral("%1 (and %2 more before)").arg(text).arg(others)));
    m_status->setToolTip(m_complaints.join(QLatin1Char('\n')));
    m_services.streams.printErrorLine(QStringLiteral("ov3dboard: ") + text);
}

void BoardWindow::report(const ViewerEvent& event)
{
    const QString name = event.model.section(QLatin1Char('/'), -1);
    if (event.kind == ViewerEvent::Kind::card)
        complain(QStringLiteral("%1: %2").arg(name, event.reason));
    else if (event.kind == ViewerEvent::Kind::missing)
        say(QStringLiteral("%1: shown without %2").arg(name, event.files.join(QStringLiteral(", "))));
    else if (event.kind == ViewerEvent::Kind::note)
        say(QStringLiteral("%1: %2").arg(name,
                                         m_document ? m_document->withoutWorkingFolder(event.reason) : event.reason));
}

} // namespace ov3d::apps
