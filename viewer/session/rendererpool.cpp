#include "viewer/session/rendererpool.h"

namespace ov3d::session {

RendererPool& RendererPool::instance()
{
    // Never destroyed, like everything that sessions use: they may run on while the process ends.
    static RendererPool& pool = *new RendererPool;
    return pool;
}

void RendererPool::prepare()
{
    {
        const std::lock_guard lock(m_mutex);
        m_keepSpare = true;
    }
    replenish();
}

std::unique_ptr<RendererProcess> RendererPool::take()
{
    std::unique_ptr<RendererProcess> spare;
    {
        const std::lock_guard lock(m_mutex);
        spare = std::move(m_spare);
    }
    if (spare && spare->isAlive() && spare->hasShaderCache() == RendererProcess::startsWithShaderCache())
        return spare;
    // How it has ended may tell how to start the next.
    spare.reset();
    return RendererProcess::start();
}

void RendererPool::replenish()
{
    tidy();
    const std::lock_guard lock(m_mutex);
    if (m_keepSpare && !m_spare)
        m_spare = RendererProcess::start();
}

void RendererPool::tidy()
{
    RendererProcess::reapStragglers();
    const std::lock_guard lock(m_mutex);
    if (m_spare && !m_spare->isAlive())
        m_spare.reset();
}

void RendererPool::clear()
{
    const std::lock_guard lock(m_mutex);
    m_keepSpare = false;
    m_spare.reset();
    RendererProcess::forgetShaderCacheFaults();
}

} // namespace ov3d::session
