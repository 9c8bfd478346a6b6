/// The pages of the window's document.

#include "apps/board/boardwindow.h"
#include "apps/board/pageview.h"
#include "apps/document/itemreaper.h"
#include "apps/document/placeholderitem.h"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

#include <algorithm>

namespace ov3d::apps {

namespace {

QList<CBaseObject*> itemsOf(const COvPage& page)
{
    QList<CBaseObject*> items;
    for (COVRootObject* object : page.objects()) {
        if (auto* item = dynamic_cast<CBaseObject*>(object))
            items << item;
    }
    return items;
}

/// Whether a load will come back to the item.
bool isAwaited(const CBaseObject* item)
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
    m_removePage = addAction(menu, QStringLiteral("&Remove page..."), {}, &BoardWindow::askAndRemovePage);
    m_removePage->setObjectName(QStringLiteral("removePage"));
    menu.addSeparator();
    m_loadRest = addAction(menu, QStringLiteral("&Load the rest"), {}, &BoardWindow::loadRest);
    m_loadRest->setObjectName(QStringLiteral("loadRest"));
}

int BoardWindow::pageIndex() const
{
    const COvDocument& pages = m_document->pages();
    int index = 0;
    while (index < pages.pageCount() && pages.page(index) != m_page)
        ++index;
    return index;
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

void BoardWindow::askAndRemovePage()
{
    const int items = itemsOf(*m_page).size();
    const QString question = QStringLiteral("Remove the page with %1 on it? This cannot be undone.")
                                 .arg(items == 1 ? QStringLiteral("one model") : QStringLiteral("%1 models").arg(items));
    if (items == 0 || QMessageBox::question(this, QStringLiteral("Remove page"), question,
                                            QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel) ==
                          QMessageBox::Yes)
        removePage();
}

void BoardWindow::removePage()
{
    COvDocument& pages = m_document->pages();
    COvPage* page = m_page;
    const QList<CBaseObject*> items = itemsOf(*page);
    if (pages.pageCount() < 2) {
        say(QStringLiteral("A document has at least one page"));
        return;
    }
    if (std::any_of(items.begin(), items.end(), isAwaited)) {
        say(QStringLiteral("Models of this page are still being loaded; cancel that first"));
        return;
    }
    const int index = pageIndex();
    showPage(index > 0 ? index - 1 : 1);
    // The commands know pages and items that are about to go.
    pages.undoStack()->clear();
    for (CBaseObject* item : items) {
        if (!dynamic_cast<PlaceholderItem*>(item) && page->takeObject(item))
            reapItem(item);
    }
    pages.removePage(index);
    pages.undoStack()->resetClean();
    showPage(pageIndex());
    say(QStringLiteral("Removed the page"));
}

void BoardWindow::loadRest()
{
    m_document->loadPage(*m_page);
    m_document->loadAll();
    updateActions();
}

} // namespace ov3d::apps
