#include "apps/board/pagecommands.h"

#include <QVariant>

#include <limits>
#include <utility>

namespace ov3d::apps {

namespace {

constexpr QSizeF kSmallestItem(64, 48);
constexpr const char* kLargestAreaProperty = "ov3dLargestArea";

/// Frame memory holds eight bytes a pixel of the first size, and a picture needs three.
constexpr double kGrowth = 8.0 / 3.0 * 0.98;

QList<QPointer<CBaseObject>> itemsAbove(const COvPage& page, const CBaseObject* item)
{
    QList<QPointer<CBaseObject>> above;
    bool isAbove = false;
    for (COVRootObject* object : page.objects()) {
        auto* each = dynamic_cast<CBaseObject*>(object);
        if (isAbove && each)
            above << each;
        isAbove = isAbove || each == item;
    }
    return above;
}

} // namespace

PresenceCommand::PresenceCommand(COvPage* page, SharedItem item, Kind kind)
    : m_page(page)
    , m_item(std::move(item))
    , m_kind(kind)
{
    setText(kind == Kind::insertion ? QStringLiteral("Insert model") : QStringLiteral("Remove model"));
}

void PresenceCommand::undo()
{
    setPresent(m_kind == Kind::removal);
}

void PresenceCommand::redo()
{
    setPresent(m_kind == Kind::insertion);
}

void PresenceCommand::setPresent(bool present)
{
    CBaseObject* item = m_item->item();
    if (!item)
        return;
    if (!present) {
        m_above = itemsAbove(*m_page, item);
        m_page->takeObject(item);
        return;
    }
    m_page->addObject(item);
    for (const QPointer<CBaseObject>& above : std::as_const(m_above)) {
        if (above && above->scene() == item->scene()) {
            item->stackBefore(above);
            return;
        }
    }
}

PagePresenceCommand::PagePresenceCommand(DocumentPages& pages, SharedPage page, int index, Kind kind)
    : m_pages(pages)
    , m_page(std::move(page))
    , m_index(index)
    , m_kind(kind)
{
    setText(kind == Kind::insertion ? QStringLiteral("Add page") : QStringLiteral("Remove page"));
}

const COvPage* PagePresenceCommand::pageTakenBy(bool undo) const
{
    return undo == (m_kind == Kind::insertion) ? m_page.get() : nullptr;
}

void PagePresenceCommand::undo()
{
    setPresent(m_kind == Kind::removal);
}

void PagePresenceCommand::redo()
{
    setPresent(m_kind == Kind::insertion);
}

void PagePresenceCommand::setPresent(bool present)
{
    if (present)
        m_pages.insertPage(m_index, m_page);
    else
        m_pages.takePage(m_pages.indexOf(m_page.get()));
}

LockCommand::LockCommand(CBaseObject* item, bool locked)
    : m_item(item)
    , m_locked(locked)
{
    setText(locked ? QStringLiteral("Lock model") : QStringLiteral("Unlock model"));
}

void LockCommand::undo()
{
    apply(!m_locked);
}

void LockCommand::redo()
{
    apply(m_locked);
}

void LockCommand::apply(bool locked)
{
    if (m_item)
        m_item->setLocked(locked);
}

FrameCommand::FrameCommand(CBaseObject* item, const QRectF& before, const QRectF& after)
    : m_item(item)
    , m_before(before)
    , m_after(after)
{
    setText(before.size() == after.size() ? QStringLiteral("Move model") : QStringLiteral("Resize model"));
}

void FrameCommand::undo()
{
    if (m_item)
        applyFrame(*m_item, m_before);
}

void FrameCommand::redo()
{
    if (std::exchange(m_redoArmed, true) && m_item)
        applyFrame(*m_item, m_after);
}

void applyFrame(CBaseObject& item, const QRectF& frame, FramePart part)
{
    if (frame.size() != item.getSize())
        item.setSize(frame.size(), false, false);
    item.setObjRect(anchoredFrame(frame, part, item.getSize()));
    item.updateAfterObjRectChanged(&item, true);
}

void rememberFrameLimits(CBaseObject& item)
{
    const QSizeF size = item.getSize();
    item.setProperty(kLargestAreaProperty, size.width() * size.height() * kGrowth);
}

FrameLimits frameLimits(const CBaseObject& item)
{
    const QVariant area = item.property(kLargestAreaProperty);
    return {kSmallestItem, area.isValid() ? area.toDouble() : std::numeric_limits<double>::max()};
}

} // namespace ov3d::apps
