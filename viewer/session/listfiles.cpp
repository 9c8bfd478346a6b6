#include "viewer/session/listfiles.h"

#include "viewer/session/conversation.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfile.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace ov3d::session {

namespace {

constexpr std::chrono::milliseconds kAskInterval{50};

/// Shuts a renderer's socket down as soon as the caller has had enough; the conversation takes that for its end.
class CancelWatch
{
public:
    CancelWatch(int socket, std::function<bool()> cancelled)
        : m_socket(socket)
        , m_cancelled(std::move(cancelled))
        , m_thread([this] { watch(); })
    {
    }
    ~CancelWatch()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
        }
        m_wake.notify_one();
        m_thread.join();
        ::close(m_socket);
    }
    CancelWatch(const CancelWatch&) = delete;
    CancelWatch& operator=(const CancelWatch&) = delete;

    [[nodiscard]] bool hasCancelled() const { return m_hasCancelled; }

private:
    void watch()
    {
        std::unique_lock lock(m_mutex);
        while (!m_isEnding) {
            if (m_cancelled()) {
                m_hasCancelled = true;
                ::shutdown(m_socket, SHUT_RDWR);
                return;
            }
            m_wake.wait_for(lock, kAskInterval);
        }
    }

    const int m_socket; ///< a descriptor of its own, so that the conversation may close its one at any time
    const std::function<bool()> m_cancelled;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_isEnding = false;
    std::atomic<bool> m_hasCancelled{false};
    std::thread m_thread; ///< last, since it uses the others
};

std::unique_ptr<CancelWatch> watchFor(RendererProcess* renderer, const std::function<bool()>& cancelled)
{
    if (!renderer || !cancelled)
        return nullptr;
    const int socket = ::fcntl(renderer->channel().descriptor(), F_DUPFD_CLOEXEC, 0);
    return socket < 0 ? nullptr : std::make_unique<CancelWatch>(socket, cancelled);
}

} // namespace

std::optional<std::vector<std::string>> listFiles(const std::string& path, const std::function<bool()>& cancelled,
                                                  std::string& reason)
{
    std::uint64_t fileBytes = 0;
    reason = faultOfFile(path, fileBytes);
    if (!reason.empty())
        return std::nullopt;
    protocol::Loaded loaded;
    for (bool isListed = false; !isListed;) {
        const bool hadShaderCache = RendererProcess::startsWithShaderCache();
        auto renderer = RendererProcess::start();
        const auto watch = watchFor(renderer.get(), cancelled);
        Conversation conversation(std::move(renderer), loadLimit(fileBytes));
        const protocol::LoadRequest load{toAbsolute(path), formatOfPath(path), false, true, 0};
        isListed = conversation.load(load, -1, loaded) == Conversation::Outcome::done;
        const bool isCancelled = watch && watch->hasCancelled();
        // No second try without textures: their files belong to the list. One without the shader cache, if that was it.
        if (!isListed && (isCancelled || hadShaderCache == RendererProcess::startsWithShaderCache())) {
            reason = isCancelled ? "was cancelled" : conversation.reason();
            return std::nullopt;
        }
    }
    return std::move(loaded.files);
}

} // namespace ov3d::session
