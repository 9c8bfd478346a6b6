/// How long the first picture takes, with a spare renderer and without one, on the viewer library alone: no plug-in, no
/// pauses of its interface.
///
/// usage: bench_firstpicture MODEL [google benchmark's options]

#include "src/persist/viewsettings.h"
#include "src/render/handshake.h"
#include "src/render/viewcontext.h"
#include "viewer/session/ov3dviewer.h"

#include <benchmark/benchmark.h>

#include <QGuiApplication>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 1280;
constexpr int kHeight = 960;
constexpr std::chrono::seconds kSpareIsReady{2};

std::string modelPath;
std::atomic<bool> cardWasDrawn = false;

ModelFormat formatOf(const std::string& path)
{
    const std::string suffix = path.substr(path.rfind('.') + 1);
    return suffix == "glb"    ? kFormatGlb
           : suffix == "obj"  ? kFormatObj
           : suffix == "stl"  ? kFormatStl
           : suffix == "gltf" ? kFormatGltf
           : suffix == "3mf"  ? kFormat3mf
                              : kFormatFbx;
}

/// Starts a run and stops it after its first picture. @return the seconds that the picture took.
double secondsToFirstPicture()
{
    static std::vector<unsigned char> buffer(std::size_t{kWidth} * kHeight * 8);
    ViewSettings view;
    DisplaySettings display;
    MaterialSettings material;
    LightingSettings lighting;
    CameraSettings camera;
    ViewContext context{};
    context.op = kOperationStart;
    context.width = kWidth;
    context.height = kHeight;
    context.frame_width = kNoFrame;
    context.frame_buffer = buffer.data();
    modelPath.copy(context.model_path, sizeof context.model_path - 1);
    context.view_settings = &view;
    context.display_settings = &display;
    context.material_settings = &material;
    context.lighting_settings = &lighting;
    context.camera_settings = &camera;
    context.model_format = formatOf(modelPath);
    context.result = -1;

    const Clock::time_point begin = Clock::now();
    std::thread run([&context] {
        static const char* arguments[] = {"./", nullptr};
        ov3dViewer(1, arguments, &context);
    });
    while (loadAcquire(context.first_draw) == 0)
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    context.op = kOperationStop;
    ov3dViewer(0, nullptr, &context);
    run.join();
    return seconds;
}

void measure(benchmark::State& state)
{
    for (auto step : state) {
        // A spare renderer that was asked for starts in the background, also after each run.
        std::this_thread::sleep_for(kSpareIsReady);
        state.SetIterationTime(secondsToFirstPicture());
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    if (argc < 2 || argv[1][0] == '-') {
        std::fputs("usage: bench_firstpicture MODEL [options]\n", stderr);
        return 2;
    }
    modelPath = argv[1];
    // A card comes fast, and says nothing about pictures.
    ov3dViewerSetObserver([](const char* json) {
        if (std::strstr(json, "\"card\""))
            cardWasDrawn = true;
    });
    // In this order: a spare renderer, once asked for, is kept from then on.
    benchmark::RegisterBenchmark("first_picture/no_spare", measure)->UseManualTime()->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("first_picture/spare",
                                 [](benchmark::State& state) {
                                     ov3dViewerPrepare();
                                     measure(state);
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    ov3dViewerSetObserver({});
    if (!cardWasDrawn)
        return 0;
    std::fprintf(stderr, "bench_firstpicture: %s: cannot be shown\n", modelPath.c_str());
    return 1;
}
