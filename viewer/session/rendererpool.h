#pragma once

#include "viewer/session/rendererprocess.h"

#include <memory>
#include <mutex>

namespace ov3d::session {

/// Hands out fresh renderers, and keeps one waiting once it has been asked to. A renderer is used for one model and
/// never comes back: what a hostile file did to it must not reach the next one. Any thread.
class RendererPool
{
public:
    static RendererPool& instance();

    /// Starts the spare renderer, and keeps one from now on.
    void prepare();

    /// @return the spare one, or a new one; null when none can be started.
    std::unique_ptr<RendererProcess> take();

    /// Starts the next spare renderer where one is wanted. Called when a load is over, so that the two do not compete.
    void replenish();

    /// Buries a spare renderer that has ended.
    void tidy();

    /// Ends the spare renderer, keeps none from now on, and forgets how renderers have ended. For tests.
    void clear();

private:
    RendererPool() = default;

    std::mutex m_mutex;
    bool m_keepSpare = false;
    std::unique_ptr<RendererProcess> m_spare;
};

} // namespace ov3d::session
