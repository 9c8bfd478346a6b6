#include "viewer/session/rendererprocess.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace ov3d::session {

namespace {

constexpr const char* kProgramName = "ov3d-renderer";
constexpr int kSocketDescriptor = 3; // in the child
constexpr std::chrono::milliseconds kPatienceAfterKill{1000};
// Mesa's. What a driver does not know it ignores.
constexpr const char* kNoShaderCacheName = "MESA_SHADER_CACHE_DISABLE=";
constexpr const char* kNoShaderCache = "MESA_SHADER_CACHE_DISABLE=true";

std::atomic<bool> g_shaderCacheFails{false};

struct Stragglers
{
    std::mutex mutex;
    std::vector<pid_t> ids;
};

Stragglers& stragglers()
{
    static Stragglers& instance = *new Stragglers;
    return instance;
}

bool isExecutable(const std::string& path)
{
    return access(path.c_str(), X_OK) == 0;
}

/// Folder that this library was loaded from.
std::string libraryFolder()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&RendererProcess::findProgram), &info) == 0 || !info.dli_fname)
        return {};
    std::string path = info.dli_fname;
    if (char* whole = realpath(path.c_str(), nullptr)) {
        path = whole;
        std::free(whole);
    }
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

/// The host's environment as a renderer gets it. Points into the host's own.
class Environment
{
public:
    explicit Environment(bool withShaderCache)
    {
        for (char** variable = environ; variable && *variable; ++variable)
            if (withShaderCache || std::strncmp(*variable, kNoShaderCacheName, std::strlen(kNoShaderCacheName)) != 0)
                m_pointers.push_back(*variable);
        if (!withShaderCache)
            m_pointers.push_back(m_noShaderCache.data());
        m_pointers.push_back(nullptr);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    [[nodiscard]] char** pointers() { return m_pointers.data(); }

private:
    std::string m_noShaderCache = kNoShaderCache;
    std::vector<char*> m_pointers;
};

/// What the child does between its birth and the new program: no more than moving descriptors, done by the C library
/// without touching the host's memory. Freed with the object.
class SpawnPlan
{
public:
    explicit SpawnPlan(int socket)
    {
        m_good = posix_spawn_file_actions_init(&m_actions) == 0 && posix_spawnattr_init(&m_attributes) == 0;
        // First the socket, which may itself lie below 3 in a host that has closed its standard streams.
        add(posix_spawn_file_actions_adddup2(&m_actions, socket, kSocketDescriptor));
        add(posix_spawn_file_actions_addopen(&m_actions, 0, "/dev/null", O_RDONLY, 0));
        add(posix_spawn_file_actions_addopen(&m_actions, 1, "/dev/null", O_WRONLY, 0));
        // Importers and drivers chatter; the host's terminal is not theirs.
        add(posix_spawn_file_actions_addopen(&m_actions, 2, "/dev/null", O_WRONLY, 0));
        add(posix_spawn_file_actions_addclosefrom_np(&m_actions, kSocketDescriptor + 1));

        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        add(posix_spawnattr_setsigmask(&m_attributes, &none));
        add(posix_spawnattr_setsigdefault(&m_attributes, &all));
        add(posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }

    ~SpawnPlan()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }

    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    /// @return -1 when the program cannot be started.
    [[nodiscard]] pid_t spawn(const std::string& program, bool withShaderCache) const
    {
        Environment environment(withShaderCache);
        std::string parent = std::to_string(getpid());
        std::string socket = std::to_string(kSocketDescriptor);
        std::string name = program;
        std::string socketOption = "--socket";
        std::string parentOption = "--parent";
        char* const arguments[] = {name.data(),         socketOption.data(), socket.data(),
                                   parentOption.data(), parent.data(),       nullptr};
        pid_t id = -1;
        if (!m_good ||
            posix_spawn(&id, program.c_str(), &m_actions, &m_attributes, arguments, environment.pointers()) != 0)
            return -1;
        return id;
    }

private:
    void add(int error) { m_good = m_good && error == 0; }

    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
    bool m_good = false;
};

} // namespace

bool RendererProcess::End::isCrash() const
{
    return known && (signal != 0 ? signal != SIGKILL && signal != SIGTERM && signal != SIGINT : exit_code != 0);
}

std::string RendererProcess::End::words() const
{
    if (known && signal == SIGKILL)
        return "was killed";
    if (known && signal != 0)
        return "crashed (signal " + std::to_string(signal) + ")";
    if (known && exit_code != 0)
        return "ended with code " + std::to_string(exit_code);
    return "ended unexpectedly";
}

RendererProcess::RendererProcess(pid_t id, protocol::Channel channel, bool hasShaderCache)
    : m_id(id)
    , m_channel(std::move(channel))
    , m_hasShaderCache(hasShaderCache)
{
}

RendererProcess::~RendererProcess()
{
    finish();
}

std::unique_ptr<RendererProcess> RendererProcess::start()
{
    const std::string program = findProgram();
    if (program.empty())
        return nullptr;
    protocol::ChannelPair pair = protocol::makeChannelPair();
    if (!pair.here.isOpen())
        return nullptr;
    const SpawnPlan plan(pair.there.descriptor());
    const bool withShaderCache = startsWithShaderCache();
    const pid_t id = plan.spawn(program, withShaderCache);
    if (id < 0)
        return nullptr;
    return std::unique_ptr<RendererProcess>(new RendererProcess(id, std::move(pair.here), withShaderCache));
}

bool RendererProcess::startsWithShaderCache()
{
    return !g_shaderCacheFails;
}

void RendererProcess::forgetShaderCacheFaults()
{
    g_shaderCacheFails = false;
}

void RendererProcess::noteEnd(int status)
{
    m_end.known = true;
    m_end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    m_end.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    m_end.by_shader_cache = m_end.signal == SIGBUS && m_hasShaderCache;
    if (m_end.by_shader_cache)
        g_shaderCacheFails = true;
}

bool RendererProcess::isAlive() const
{
    if (m_finished || !m_channel.isOpen())
        return false;
    pollfd watched = {m_channel.descriptor(), 0, 0};
    return poll(&watched, 1, 0) == 0;
}

RendererProcess::End RendererProcess::finish()
{
    if (m_finished)
        return m_end;
    m_finished = true;
    // A process that has ended by itself closes its socket a moment before it can be waited for, and its own way of
    // ending is worth knowing.
    const bool endedItself = !isAlive() && m_channel.isOpen();
    m_channel.close();

    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const auto killAt = start + std::chrono::milliseconds(endedItself ? 50 : 0);
    std::chrono::microseconds pause{200};
    bool killed = false;
    for (;;) {
        int status = 0;
        const pid_t waited = waitpid(m_id, &status, WNOHANG);
        if (waited == m_id) {
            noteEnd(status);
            return m_end;
        }
        // The host has waited for it, so the id may already stand for another process: hands off.
        if (waited < 0 && errno != EINTR)
            return m_end;
        const Clock::time_point now = Clock::now();
        if (!killed && now >= killAt) {
            kill(m_id, SIGKILL);
            killed = true;
        }
        if (now >= start + kPatienceAfterKill)
            break;
        std::this_thread::sleep_for(pause);
        pause = std::min<std::chrono::microseconds>(pause * 2, std::chrono::milliseconds(10));
    }
    const std::lock_guard lock(stragglers().mutex);
    stragglers().ids.push_back(m_id);
    return m_end;
}

void RendererProcess::reapStragglers()
{
    const std::lock_guard lock(stragglers().mutex);
    std::erase_if(stragglers().ids, [](pid_t id) { return waitpid(id, nullptr, WNOHANG) != 0; });
}

std::string RendererProcess::findProgram()
{
    if (const char* named = std::getenv("OV3D_RENDERER"); named && *named)
        return isExecutable(named) ? named : std::string();
    const std::string folder = libraryFolder();
    // The second is where it was installed, relative to the libraries; the third its place in a build folder.
    for (const char* place : {"/", "/" OV3D_LIBEXEC_FROM_LIBRARIES "/", "/../libexec/", "/../bin/"}) {
        std::string path = folder + place + kProgramName;
        if (isExecutable(path))
            return path;
    }
    return {};
}

} // namespace ov3d::session
