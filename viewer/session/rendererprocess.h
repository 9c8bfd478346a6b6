#pragma once

#include "viewer/protocol/channel.h"

#include <sys/types.h>

#include <memory>
#include <string>

namespace ov3d::session {

/// One renderer process and our end of its socket. Destroying it ends the process and leaves no zombie.
///
/// Used by one thread at a time. The host's handling of child processes is left alone: we wait for our own process by
/// its id, and live with a host that has waited for it first.
class RendererProcess
{
public:
    /// How a process ended.
    struct End
    {
        bool known = false; ///< false when somebody else has waited for it, or it would not end
        int signal = 0;     ///< that ended it, or 0
        int exit_code = 0;
        /// By a fault that a full disk explains: drivers map the files of their shader cache. Renderers that are
        /// started afterwards go without that cache.
        bool by_shader_cache = false;

        /// Whether it ended by a fault of its own, as opposed to being killed from outside.
        [[nodiscard]] bool isCrash() const;
        /// Plain words: "was killed", "crashed (signal 11)".
        [[nodiscard]] std::string words() const;
    };

    /// @return null when the program cannot be found or started.
    static std::unique_ptr<RendererProcess> start();

    ~RendererProcess();
    RendererProcess(const RendererProcess&) = delete;
    RendererProcess& operator=(const RendererProcess&) = delete;

    [[nodiscard]] protocol::Channel& channel() { return m_channel; }
    [[nodiscard]] pid_t id() const { return m_id; }

    /// Whether the process has neither ended nor closed its socket.
    [[nodiscard]] bool isAlive() const;

    /// Ends the process if it has not ended by itself, and tells how it ended.
    End finish();

    /// Whether it was started with the drivers' shader cache on disk, which saves a renderer about a tenth of a second.
    [[nodiscard]] bool hasShaderCache() const { return m_hasShaderCache; }
    /// Whether the next one will be. Any thread.
    [[nodiscard]] static bool startsWithShaderCache();
    /// For tests.
    static void forgetShaderCacheFaults();

    /// Waits for processes that did not end when they were told to. Cheap when there are none; any thread.
    static void reapStragglers();

    /// The renderer program: $OV3D_RENDERER, or "ov3d-renderer" beside this library, in ../libexec or in ../bin.
    /// @return empty when there is none that can be executed.
    static std::string findProgram();

private:
    RendererProcess(pid_t id, protocol::Channel channel, bool hasShaderCache);
    void noteEnd(int status);

    pid_t m_id;
    protocol::Channel m_channel;
    bool m_hasShaderCache;
    bool m_finished = false;
    End m_end;
};

} // namespace ov3d::session
