#include "src/render/viewlock.h"

#include "src/plugin/ov3dobject.h"

ViewLock::ViewLock(COv3DObject& item)
    : m_item(item)
{
    m_item.m_viewExclusion.lock();
    if (!m_item.m_viewMutexStranded)
        m_item.m_viewMutex.lock();
}

ViewLock::~ViewLock()
{
    if (!m_item.m_viewMutexStranded)
        m_item.m_viewMutex.unlock();
    m_item.m_viewExclusion.unlock();
}

void ViewLock::strand()
{
    m_item.m_viewMutexStranded = true;
}

void ViewLock::recover()
{
    m_item.m_viewMutexStranded = false;
}
