/// Making the key colour transparent: the plug-in's single pass against the form that one would write first.

#include "bench/testpictures.h"
#include "src/render/backgroundkeying.h"

#include <benchmark/benchmark.h>

#include <QColor>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using Keying = void (*)(QImage&);

bool isKey(const QColor& colour)
{
    return std::abs(colour.red() - 92) <= 2 && std::abs(colour.green() - 238) <= 2 && std::abs(colour.blue() - 20) <= 2;
}

/// Finds the key pixels first, then takes the fringe, pixel by pixel through QImage.
void keyNaively(QImage& image)
{
    const int width = image.width();
    const int height = image.height();
    std::vector<bool> keyed(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            keyed[static_cast<std::size_t>(y * width + x)] = isKey(image.pixelColor(x, y));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int index = y * width + x;
            const bool afterKey = index > 0 && keyed[static_cast<std::size_t>(index - 1)];
            const bool beforeKey = x + 1 < width && keyed[static_cast<std::size_t>(index + 1)];
            if (!keyed[static_cast<std::size_t>(index)] && !afterKey && !beforeKey)
                continue;
            QColor colour = image.pixelColor(x, y);
            colour.setAlpha(0);
            image.setPixelColor(x, y, colour);
        }
    }
}

void measure(benchmark::State& state, QImage (*draw)(int, int), Keying key)
{
    const QImage picture = draw(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto step : state) {
        state.PauseTiming();
        QImage image = picture.copy();
        state.ResumeTiming();
        key(image);
        benchmark::DoNotOptimize(image.bits());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * picture.width() * picture.height());
}

bool agree(QImage (*draw)(int, int))
{
    QImage ours = draw(317, 211);
    QImage naive = ours.copy();
    keyOutBackground(ours);
    keyNaively(naive);
    return ours == naive;
}

} // namespace

BENCHMARK_CAPTURE(measure, body / ours, ov3d::bench::bodyPicture, keyOutBackground)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, body / naive, ov3d::bench::bodyPicture, keyNaively)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, bars / ours, ov3d::bench::barsPicture, keyOutBackground)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, bars / naive, ov3d::bench::barsPicture, keyNaively)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    if (!agree(ov3d::bench::bodyPicture) || !agree(ov3d::bench::barsPicture)) {
        std::fputs("bench_keying: the two forms give different pictures\n", stderr);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
