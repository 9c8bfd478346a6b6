/// The renderer process: reads a model and draws it for a session, which it knows by a socket alone.
///
///     ov3d-renderer --socket FD --parent PID
///
/// Started by the viewer library; of no use by itself. It ends when its socket ends or its parent has gone.
/// OV3D_RENDERER_LOG names a file for what libraries write to standard output and error;
/// OV3D_RENDERER_MEMORY_MB bounds the memory (half of the machine's by default).

#include "viewer/renderer/graphics/offscreenwindow.h"
#include "viewer/renderer/process/lifeline.h"
#include "viewer/renderer/process/limits.h"
#include "viewer/renderer/rendererloop.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct Arguments
{
    int socket = -1;
    int parent = 0;
};

bool parseNumber(const char* text, int& number)
{
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    number = static_cast<int>(value);
    return end != text && *end == '\0' && value >= 0 && value == number;
}

bool parse(int argc, char** argv, Arguments& arguments)
{
    for (int i = 1; i + 1 < argc; i += 2) {
        const bool isSocket = std::strcmp(argv[i], "--socket") == 0;
        if (!isSocket && std::strcmp(argv[i], "--parent") != 0)
            return false;
        if (!parseNumber(argv[i + 1], isSocket ? arguments.socket : arguments.parent))
            return false;
    }
    return argc % 2 == 1 && arguments.socket > STDERR_FILENO && ::fcntl(arguments.socket, F_GETFD) >= 0;
}

} // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    if (!parse(argc, argv, arguments)) {
        std::fprintf(stderr, "usage: ov3d-renderer --socket FD --parent PID\n"
                             "The viewer library starts this program; it is of no use by itself.\n");
        return 2;
    }
    ov3d::renderer::watchLifeline(arguments.socket, arguments.parent);
    ov3d::renderer::limitProcess();
    ov3d::renderer::silenceOutput();
    ov3d::renderer::silenceVtk();
    ::fcntl(arguments.socket, F_SETFD, FD_CLOEXEC);

    ov3d::renderer::RendererLoop loop((ov3d::protocol::Channel(arguments.socket)));
    // Nothing of the graphics is worth tidying up in a process that ends: drivers take their time over it.
    ::_exit(loop.run());
}
