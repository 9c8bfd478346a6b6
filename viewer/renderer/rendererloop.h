#pragma once

#include "viewer/protocol/channel.h"
#include "viewer/protocol/framememory.h"
#include "viewer/protocol/messages.h"
#include "viewer/renderer/picture/picturerenderer.h"

namespace ov3d::renderer {

/// Serves a session's requests, one at a time, until its socket ends. Whatever goes wrong ends in a Failed.
class RendererLoop
{
public:
    explicit RendererLoop(protocol::Channel channel);

    /// @return the process's exit code.
    int run();

private:
    /// Uses the time until the first request.
    void warmUp();
    [[nodiscard]] bool isRequestWaiting() const;
    bool serve(const protocol::Request& request, int attached);
    protocol::Answer load(const protocol::LoadRequest& request, int attached);
    protocol::Answer render(const protocol::RenderRequest& request);
    bool send(const protocol::Answer& answer);

    protocol::Channel m_channel;
    protocol::FrameMemory m_frame;
    PictureRenderer m_pictures;
};

} // namespace ov3d::renderer
