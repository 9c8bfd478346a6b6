// A renderer that works, waits or dies in the ways that a machine short of processors or disk brings about: words in
// the model's file name choose. It notes each request in MODEL.log, a line a request, as the scripted renderer does.

#include "viewer/protocol/channel.h"
#include "viewer/protocol/framememory.h"
#include "viewer/protocol/messages.h"

#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

using namespace ov3d::protocol;

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// Keeps a processor busy until this process has had that much more of it.
void work(milliseconds time)
{
    const auto spent = [] {
        timespec now = {};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
    };
    const auto end = spent() + time;
    while (spent() < end) {
    }
}

class WorkingRenderer
{
public:
    explicit WorkingRenderer(int socket)
        : m_channel(socket)
    {
    }

    void run()
    {
        send(Ready{"none"});
        for (;;) {
            std::vector<std::uint8_t> bytes;
            int attached = -1;
            if (m_channel.receive(bytes, attached, milliseconds(-1)) != Channel::Outcome::message)
                return;
            Request request;
            if (!decode(bytes.data(), bytes.size(), request))
                std::_Exit(9);
            if (const auto* load = std::get_if<LoadRequest>(&request)) {
                m_memory = FrameMemory::map(attached, load->max_frame_bytes);
                answer(*load);
            } else {
                answer(std::get<RenderRequest>(request));
            }
        }
    }

private:
    [[nodiscard]] bool is(const std::string& word) const { return m_name.find(word) != std::string::npos; }

    void send(const Answer& message) { m_channel.send(encode(message)); }

    void note(const std::string& line) const { std::ofstream(m_log, std::ios::app) << line << std::endl; }

    /// @param step  "load" or "picture"
    void spendTime(const std::string& step) const
    {
        while (is("sleep" + step))
            pause();
        while (is("spin" + step))
            work(milliseconds(10));
        if (!is("starve" + step))
            return;
        // A third of a processor, for one and a half seconds.
        const Clock::time_point end = Clock::now() + milliseconds(1500);
        while (Clock::now() < end) {
            work(milliseconds(20));
            std::this_thread::sleep_for(milliseconds(40));
        }
    }

    void answer(const LoadRequest& load)
    {
        m_name = load.path.substr(load.path.rfind('/') + 1);
        m_log = load.path + ".log";
        const char* setting = std::getenv("MESA_SHADER_CACHE_DISABLE");
        const bool hasCache = !setting || std::strcmp(setting, "true") != 0;
        note("load pid=" + std::to_string(getpid()) + " textures=" + (load.without_textures ? "0" : "1") +
             " cache=" + (hasCache ? "1" : "0"));
        if (is("fulldisk") && hasCache)
            die();
        if (is("damagedfile"))
            die();
        spendTime("load");
        Loaded loaded;
        loaded.radius = 2.0;
        send(loaded);
    }

    void answer(const RenderRequest& request)
    {
        note("render " + std::to_string(request.width) + "x" + std::to_string(request.height));
        spendTime("picture");
        const std::uint64_t bytes = rowBytes(request.width) * static_cast<std::uint64_t>(request.height);
        if (!m_memory.isOpen() || bytes > m_memory.size())
            std::_Exit(8);
        // As the scripted renderer marks its pictures.
        std::memset(m_memory.data(), request.quality == Quality::final ? 200 : 100, bytes);
        send(Rendered{request.serial, request.width, request.height, ""});
    }

    /// As a process dies that writes to the mapping of a file on a full disk.
    [[noreturn]] static void die()
    {
        signal(SIGBUS, SIG_DFL);
        raise(SIGBUS);
        std::_Exit(1);
    }

    Channel m_channel;
    FrameMemory m_memory;
    std::string m_name;
    std::string m_log;
};

} // namespace

int main(int argc, char** argv)
{
    // A test that fails half-way must not leave a busy process behind.
    alarm(100);
    for (int i = 1; i + 1 < argc; ++i)
        if (std::strcmp(argv[i], "--socket") == 0)
            WorkingRenderer(std::atoi(argv[i + 1])).run();
    return 0;
}
