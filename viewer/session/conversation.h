#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/session/rendererprocess.h"
#include "viewer/session/worklimit.h"

#include <chrono>
#include <memory>
#include <string>

namespace ov3d::session {

/// A conversation with a renderer that waits for each answer, for what has no session: one model, one thread.
class Conversation
{
public:
    enum class Outcome
    {
        done,
        refused, ///< the renderer said why not, or took too long
        crashed, ///< another try may do better
    };

    /// @param patience  how long the renderer may go without progress, and draw a picture of the usual size
    explicit Conversation(std::unique_ptr<RendererProcess> renderer, std::chrono::milliseconds patience);

    /// A load and the picture after it may take as long as those of a session: wholeLimit() of the model's file.
    /// @param memory  descriptor of the frame memory, or -1
    Outcome load(const protocol::LoadRequest& request, int memory, protocol::Loaded& loaded);

    Outcome draw(const protocol::RenderRequest& request);

    /// Why the last call was not done: the rest of a sentence that begins with the file's name.
    [[nodiscard]] const std::string& reason() const { return m_reason; }

private:
    using Clock = std::chrono::steady_clock;

    void giveTime(std::chrono::milliseconds time);
    /// Whether the renderer has had its time; ends it then, with the reason.
    bool isLate(const char* work);
    Outcome receive(protocol::Answer& answer, const char* work);
    Outcome lost(const char* fault);
    Outcome refused(const protocol::Failed& failed);

    std::unique_ptr<RendererProcess> m_renderer;
    std::chrono::milliseconds m_patience;
    ProcessorMeter m_processor;
    WorkLimit m_loadLimit; ///< of the load and its first picture
    WorkLimit m_stepLimit;
    std::string m_reason;
};

} // namespace ov3d::session
