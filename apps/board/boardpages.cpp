/// The pages of the window's document.

#include "apps/board/boardwindow.h"
#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/document/placeholderitem.h"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>

#include <algorithm>

namespace ov3d::apps {

namespace {

/// Whether a load will come back to the item.
bool isAwaited(const COVRootObject* item)
{
    const auto* placeholder = dynamic_cast<const PlaceholderItem*>(item);
    return placeholder && (placeholder->state() == PlaceholderItem::State::loading ||
                           placeholder->state() == PlaceholderItem::State::arriving);
}

} // namespace

void BoardWindow::makePageMenu()
{
    QMenu& menu = *menuBar()->addMenu(QStringLiteral("&Page"));
    QAction* previous = menu.addAction(QStringLiteral("&Previous page"), this, [this] { showPage(pageIndex() - 1); });
    previous->setShortcut(QKeySequence(Qt::Key_PageUp));
    QAction* next = menu.addAction(QStringLiteral("&Next page"), this, [this] { showPage(pageIndex() + 1); });
    next->setShortcut(QKeySequence(Qt::Key_PageDown));
    menu.addSeparator();
    addAction(menu, QStringLiteral("&Add page"), QKeySequence(QStringLiteral("Ctrl+Shift+N")), &BoardWindow::addPage);
    m_removePage = addAction(menu, QStringLiteral("&Remove page"), {}, &BoardWindow::removePage);
    m_removePage->setObjectName(QStringLiteral("removePage"));
    menu.addSeparator();
    m_loadRest = addAction(menu, QStringLiteral("&Load the rest"), {}, &BoardWindow::loadRest);
    m_loadRest->setObjectName(QStringLiteral("loadRest"));
}

int BoardWindow::pageIndex() const
{
    return m_document->pages().indexOf(m_page);
}

void BoardWindow::showPage(int index)
{
    COvPage* page = m_document->pages().page(index);
    if (!page)
        return;
    if (m_page)
        disconnect(m_page->scene(), nullptr, this, nullptr);
    m_page = page;
    m_view->setPage(page);
    connect(page->scene(), &QGraphicsScene::selectionChanged, this, &BoardWindow::updateActions);
    m_document->loadPage(*page);
    showPageNumber();
    updateActions();
}

void BoardWindow::showPageNumber()
{
    m_pageNumber->setText(QStringLiteral("Page %1 of %2").arg(pageIndex() + 1).arg(m_document->pages().pageCount()));
}

/// A page that comes is one that the user adds, or wants back.
void BoardWindow::pageInserted(int index)
{
    showPage(index);
}

void BoardWindow::pageTaken(int index)
{
    // The page is still there, so the view may be taken off it now.
    if (pageIndex() < 0)
        showPage(std::max(index - 1, 0));
    showPageNumber();
}

void BoardWindow::addPage()
{
    DocumentPages& pages = m_document->pages();
    CUndoRedo::GetInstance()->push(new PagePresenceCommand(pages, pages.makePage(m_page->size()), pages.pageCount(),
                                                           PagePresenceCommand::Kind::insertion));
}

void BoardWindow::removePage()
{
    DocumentPages& pages = m_document->pages();
    if (pages.pageCount() < 2) {
        say(QStringLiteral("A document has at least one page"));
        return;
    }
    if (!mayTakePage(*m_page))
        return;
    const int index = pageIndex();
    CUndoRedo::GetInstance()->push(
        new PagePresenceCommand(pages, pages.sharedPage(index), index, PagePresenceCommand::Kind::removal));
    say(QStringLiteral("Removed the page; Ctrl+Z brings it back"));
}

/// @return false after a message.
bool BoardWindow::mayTakePage(const COvPage& page)
{
    const QList<COVRootObject*> items = page.objects();
    if (!std::any_of(items.begin(), items.end(), isAwaited))
        return true;
    say(QStringLiteral("Models of this page are still being loaded; cancel that first"));
    return false;
}

void BoardWindow::loadRest()
{
    m_document->loadPage(*m_page);
    m_document->loadAll();
    updateActions();
}

} // namespace ov3d::apps
