#include "apps/board/itemholder.h"

#include "apps/document/itemreaper.h"

#include <QHash>

namespace ov3d::apps {

namespace {

QHash<const CBaseObject*, std::weak_ptr<ItemHolder>>& holders()
{
    static QHash<const CBaseObject*, std::weak_ptr<ItemHolder>> all;
    return all;
}

} // namespace

SharedItem ItemHolder::of(CBaseObject* item)
{
    SharedItem holder = holders().value(item).lock();
    if (!holder || holder->item() != item) { // another item may have lain at this address
        holder.reset(new ItemHolder(item));
        holders().insert(item, holder);
    }
    return holder;
}

ItemHolder::ItemHolder(CBaseObject* item)
    : m_item(item)
    , m_address(item)
{
}

ItemHolder::~ItemHolder()
{
    if (holders().value(m_address).expired())
        holders().remove(m_address);
    if (m_item && !m_item->scene())
        reapItem(m_item);
}

} // namespace ov3d::apps
