#include "apps/document/documentpages.h"

#include "apps/document/itemreaper.h"
#include "apps/document/placeholderitem.h"
#include "host/framework/framework.h"

#include <algorithm>

namespace ov3d::apps {

namespace {

/// The page itself would release its items one after the other, which takes seconds each.
void endPage(COvPage* page)
{
    for (COVRootObject* object : page->objects()) {
        auto* item = dynamic_cast<CBaseObject*>(object);
        if (item && !dynamic_cast<PlaceholderItem*>(item) && page->takeObject(item))
            reapItem(item);
    }
    delete page;
}

} // namespace

DocumentPages::DocumentPages(COvDocument& document)
    : m_document(document)
{
}

DocumentPages::~DocumentPages() = default;

COvPage* DocumentPages::page(int index) const
{
    return sharedPage(index).get();
}

SharedPage DocumentPages::sharedPage(int index) const
{
    return index >= 0 && index < pageCount() ? m_pages[static_cast<std::size_t>(index)] : nullptr;
}

int DocumentPages::indexOf(const COvPage* page) const
{
    const auto found =
        std::find_if(m_pages.begin(), m_pages.end(), [page](const SharedPage& each) { return each.get() == page; });
    return found == m_pages.end() ? -1 : static_cast<int>(found - m_pages.begin());
}

SharedPage DocumentPages::makePage(const QSizeF& size)
{
    return {new COvPage(&m_document, size), &endPage};
}

void DocumentPages::insertPage(int index, const SharedPage& page)
{
    const int place = std::clamp(index, 0, pageCount());
    m_pages.insert(m_pages.begin() + place, page);
    Q_EMIT pageInserted(place);
}

void DocumentPages::takePage(int index)
{
    const SharedPage page = sharedPage(index);
    if (!page)
        return;
    m_pages.erase(m_pages.begin() + index);
    Q_EMIT pageTaken(index);
}

} // namespace ov3d::apps
