#include "apps/board/itemholder.h"

#include "apps/document/itemreaper.h"
#include "host/framework/framework.h"

namespace ov3d::apps {

ItemHolder::~ItemHolder()
{
    if (!m_item->scene())
        reapItem(m_item);
}

} // namespace ov3d::apps
