#pragma once

#include <memory>

class CBaseObject;

namespace ov3d::apps {

/// Shared by the undo commands that put an item on a page or take it off. The last of them disposes of an item that is
/// on no page.
class ItemHolder
{
public:
    explicit ItemHolder(CBaseObject* item)
        : m_item(item)
    {
    }
    ~ItemHolder();
    ItemHolder(const ItemHolder&) = delete;
    ItemHolder& operator=(const ItemHolder&) = delete;

    [[nodiscard]] CBaseObject* item() const { return m_item; }

private:
    CBaseObject* m_item;
};

using SharedItem = std::shared_ptr<ItemHolder>;

} // namespace ov3d::apps
