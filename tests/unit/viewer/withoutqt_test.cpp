// A host that is no Qt program: no application object, no fonts, no event loop.

#include "src/render/handshake.h"
#include "src/render/viewcontext.h"
#include "viewer/session/outputfile.h"
#include "viewer/session/ov3dviewer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace {

bool cardIsDrawnWithoutASession()
{
    std::vector<unsigned char> pixels(201 * 100 * 3, 1);
    char request[] = "{ \"model\": \"/nowhere/none.glb\" }";
    ov3dViewerRenderImage(request, pixels.data(), 201, 100);
    for (const unsigned char value : pixels)
        if (value == 1)
            return false;
    return true;
}

bool pictureIsSaved()
{
    const std::vector<std::uint8_t> pixels(48, 100);
    const char* path = "withoutqt.png";
    const bool saved = ov3d::session::savePicture(path, pixels.data(), {4, 4}, true);
    return std::remove(path) == 0 && saved;
}

} // namespace

int main()
{
    auto context = std::make_unique<ViewContext>();
    std::vector<unsigned char> buffer(200 * 100 * 8);
    context->width = 200;
    context->height = 100;
    context->frame_buffer = buffer.data();
    context->frame_width = kNoFrame;
    std::strcpy(context->model_path, "/nowhere/none.glb");
    std::thread viewer([&context] { ov3dViewer(1, nullptr, context.get()); });

    int waited = 0;
    while (loadAcquire(context->first_draw) == 0 && ++waited < 2000)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const bool drawn = loadAcquire(context->frame_width) == 200 && context->frame_height == 100;
    bool hasMark = false;
    for (std::size_t i = 0; i + 2 < 200 * 100 * 3; i += 3)
        hasMark = hasMark || (buffer[i] > 150 && buffer[i + 1] < 100);
    context->op = kOperationStop;
    ov3dViewer(0, nullptr, context.get());
    viewer.join();
    if (!drawn || !hasMark) {
        std::fprintf(stderr, "no card was drawn\n");
        return EXIT_FAILURE;
    }
    if (!cardIsDrawnWithoutASession() || !pictureIsSaved()) {
        std::fprintf(stderr, "a picture without a session failed\n");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
