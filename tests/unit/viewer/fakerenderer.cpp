// A renderer without a picture of anything: it speaks the protocol, and words in the model's file name make it slow,
// mad or dead. It notes what it was asked in MODEL.log, a line a request, for the tests to read.

#include "viewer/protocol/channel.h"
#include "viewer/protocol/framememory.h"
#include "viewer/protocol/messages.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

using namespace ov3d::protocol;

namespace {

using std::chrono::milliseconds;

class FakeRenderer
{
public:
    explicit FakeRenderer(int socket)
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
    [[nodiscard]] bool is(const char* word) const { return m_name.find(word) != std::string::npos; }

    void send(const Answer& message) { m_channel.send(encode(message)); }

    void note(const std::string& line) const { std::ofstream(m_log, std::ios::app) << line << std::endl; }

    [[nodiscard]] int timesNoted(const std::string& start) const
    {
        std::ifstream log(m_log);
        int count = 0;
        for (std::string line; std::getline(log, line);)
            count += line.rfind(start, 0) == 0 ? 1 : 0;
        return count;
    }

    [[noreturn]] static void hang()
    {
        for (;;)
            pause();
    }

    [[noreturn]] static void crash()
    {
        signal(SIGSEGV, SIG_DFL);
        raise(SIGSEGV);
        std::_Exit(1);
    }

    void answer(const LoadRequest& load)
    {
        m_name = load.path.substr(load.path.rfind('/') + 1);
        m_log = load.path + ".log";
        note("load pid=" + std::to_string(getpid()) + " textures=" + (load.without_textures ? "0" : "1") +
             " list=" + (load.list_only ? "1" : "0") + " format=" + std::to_string(load.model_format));
        const int loads = timesNoted("load");
        if (is("crashload") && (!is("once") || loads == 1))
            crash();
        if (is("exitload"))
            std::_Exit(3);
        if (is("hangload") && (!is("once") || loads == 1))
            hang();
        if (is("garbageload"))
            m_channel.send({1, 2, 3, 4, 5, 6, 7, 8, 9});
        if (is("failed"))
            return send(Failed{"ends in the middle of its data"});
        sendProgress();
        sendLoaded();
    }

    void sendProgress()
    {
        if (is("samepercent")) {
            for (;;) {
                send(Progress{50});
                std::this_thread::sleep_for(milliseconds(5));
            }
        }
        const milliseconds step(is("drip") ? 60 : is("slowload") ? 20 : 0);
        for (int percent = 0; percent <= 100; percent += 5) {
            send(Progress{percent});
            std::this_thread::sleep_for(step);
        }
    }

    void sendLoaded()
    {
        Loaded loaded;
        loaded.radius = is("nanbounds") ? std::strtod("nan", nullptr) : 2.0;
        loaded.files = {"textures/wood.png", "part.bin"};
        if (is("manyfiles")) {
            loaded.files.clear();
            for (int i = 0; i < 400; ++i)
                loaded.files.push_back("a folder/texture number " + std::to_string(i) + ".png");
            loaded.files.insert(loaded.files.begin() + 1, "at@sign.png");
        }
        loaded.box_min[0] = is("nanbox") ? std::strtod("nan", nullptr) : -1.5;
        loaded.box_max[2] = 0.25;
        loaded.triangles = 12;
        loaded.materials = 2;
        loaded.textures = 1;
        if (is("repaired"))
            loaded.notes = {"3 faces were left out", "a name was mended"};
        if (is("missing"))
            loaded.missing = {"lost \"one\".png"};
        send(loaded);
    }

    void answer(const RenderRequest& request)
    {
        note("render " + std::to_string(request.width) + "x" + std::to_string(request.height) +
             (request.quality == Quality::final ? " final" : " draft") +
             (request.settings.wireframe ? " wireframe" : "") + tileText(request.tile) +
             (request.settings.hdr_path.empty() ? "" : " hdr=" + request.settings.hdr_path));
        const int renders = timesNoted("render");
        if (is("slowpicture"))
            std::this_thread::sleep_for(milliseconds(60));
        // A load draws two pictures: a draft and the one at rest.
        const int fatal = is("later") ? 3 : 1;
        if (is("crashpicture") && (is("once") ? renders == fatal : renders >= fatal))
            crash();
        if (is("crashwireframe") && request.settings.wireframe)
            crash();
        if (is("crashhdr") && !request.settings.hdr_path.empty())
            crash();
        if (is("hangpicture"))
            hang();
        if (is("failpicture"))
            return send(Failed{"cannot be drawn"});
        if (is("hugepicture"))
            return send(Rendered{request.serial, 8000, 8000});
        if (is("wrongserial"))
            return send(Rendered{request.serial + 1, request.width, request.height});
        draw(request);
        const bool notes = is("badhdr") && !request.settings.hdr_path.empty();
        send(Rendered{request.serial, request.width, request.height, notes ? "the sky cannot be read" : ""});
        if (is("dieatrest"))
            std::_Exit(0);
    }

    /// Red tells the quality, green the width, blue the view: enough to know a picture by.
    void draw(const RenderRequest& request)
    {
        if (!m_memory.isOpen() ||
            rowBytes(request.width) * static_cast<std::uint64_t>(request.height) > m_memory.size())
            std::_Exit(8);
        std::uint8_t view = 0;
        std::uint8_t bytes[sizeof request.status];
        std::memcpy(bytes, &request.status, sizeof bytes);
        for (const std::uint8_t byte : bytes)
            view = static_cast<std::uint8_t>(view * 31 + byte);
        for (std::int32_t y = 0; y < request.height; ++y) {
            std::uint8_t* row = m_memory.data() + rowBytes(request.width) * static_cast<std::uint64_t>(y);
            for (std::int32_t x = 0; x < request.width; ++x) {
                if (is("coordinates") || is("silhouette")) {
                    paint(row + 3 * x, request, x, y);
                    continue;
                }
                row[3 * x] = request.quality == Quality::final ? 200 : 100;
                row[3 * x + 1] = static_cast<std::uint8_t>(request.width);
                row[3 * x + 2] = view;
            }
        }
    }

    /// Either the place in the whole picture, or a block before the key colour.
    void paint(std::uint8_t* pixel, const RenderRequest& request, std::int32_t x, std::int32_t y) const
    {
        const auto byte = [](std::int32_t value) { return static_cast<std::uint8_t>(value & 255); };
        if (is("coordinates")) {
            const std::int32_t left = request.tile.left + x;
            const std::int32_t top = request.tile.top + y;
            pixel[0] = byte(left);
            pixel[1] = byte(top);
            pixel[2] = byte(left / 256 + top / 256 * 16);
            return;
        }
        const bool block = x >= 10 && x < 20 && y >= 5 && y < 15;
        pixel[0] = block ? 200 : 92;
        pixel[1] = block ? 10 : 238;
        pixel[2] = block ? 30 : 20;
    }

    static std::string tileText(const Tile& tile)
    {
        if (tile == Tile{})
            return {};
        return " tile=" + std::to_string(tile.left) + "," + std::to_string(tile.top) + "," +
               std::to_string(tile.whole_width) + "," + std::to_string(tile.whole_height);
    }

    Channel m_channel;
    FrameMemory m_memory;
    std::string m_name;
    std::string m_log;
};

} // namespace

int main(int argc, char** argv)
{
    // A test that fails half-way must not leave a hanging process behind.
    alarm(100);
    for (int i = 1; i + 1 < argc; ++i)
        if (std::strcmp(argv[i], "--socket") == 0)
            FakeRenderer(std::atoi(argv[i + 1])).run();
    return 0;
}
