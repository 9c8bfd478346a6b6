#pragma once

#include "host/framework/framework.h"

#include <QPointer>

#include <memory>

namespace ov3d::apps {

class ItemHolder;
using SharedItem = std::shared_ptr<ItemHolder>;

/// Shared by the undo commands that put an item on a page or take it off. The last of them disposes of an item that is
/// on no page. The GUI thread alone.
class ItemHolder
{
public:
    /// @return the one holder that an item has as long as a command holds it.
    static SharedItem of(CBaseObject* item);

    ~ItemHolder();
    ItemHolder(const ItemHolder&) = delete;
    ItemHolder& operator=(const ItemHolder&) = delete;

    /// Null once the item has gone with its page.
    [[nodiscard]] CBaseObject* item() const { return m_item; }

private:
    explicit ItemHolder(CBaseObject* item);

    QPointer<CBaseObject> m_item;
    const CBaseObject* m_address;
};

} // namespace ov3d::apps
