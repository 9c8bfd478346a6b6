/// The hit shape of a frame: the plug-in's rectangles against a region made from a bitmap, the form that Qt offers.

#include "bench/testpictures.h"
#include "src/display/imageanalysis.h"
#include "src/render/backgroundkeying.h"

#include <benchmark/benchmark.h>

#include <QBitmap>
#include <QGuiApplication>
#include <QPainterPath>
#include <QRegion>

#include <cstdio>

namespace {

using Shape = QPainterPath (*)(const QImage&);

constexpr int kShapeLimit = 256; // the item looks for its shape in a picture of at most this size
constexpr int kOpaqueAlpha = 1;

QImage keyed(QImage (*draw)(int, int), int width, int height)
{
    QImage image = draw(width, height);
    keyOutBackground(image);
    return image;
}

QPainterPath shapeByRectangles(const QImage& frame)
{
    QImage reduced;
    getImageForPath(frame, reduced, kShapeLimit);
    QPainterPath path;
    for (const QRect& rectangle : rectsFromImage(reduced, kOpaqueAlpha))
        path.addRect(rectangle);
    return path;
}

/// The same reduction, then Qt's own way from an image to an area.
QPainterPath shapeByRegion(const QImage& frame)
{
    const QImage reduced = frame.scaled(kShapeLimit, kShapeLimit, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainterPath path;
    path.addRegion(QRegion(QBitmap::fromImage(reduced.createAlphaMask())));
    return path;
}

/// Without a reduction: what one would write first.
QPainterPath shapeOfWholeFrame(const QImage& frame)
{
    QPainterPath path;
    path.addRegion(QRegion(QBitmap::fromImage(frame.createAlphaMask())));
    return path;
}

void measure(benchmark::State& state, QImage (*draw)(int, int), Shape shapeOf)
{
    const QImage frame = keyed(draw, static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    int elements = 0;
    for (auto step : state) {
        const QPainterPath path = shapeOf(frame);
        elements = path.elementCount();
        benchmark::DoNotOptimize(elements);
    }
    state.counters["rectangles"] = elements / 5; // each has five path elements
}

/// Both analyses of one picture must cover the same pixels.
bool agree(QImage (*draw)(int, int))
{
    const QImage frame = keyed(draw, 200, 150);
    QRegion ours;
    for (const QRect& rectangle : rectsFromImage(frame, kOpaqueAlpha))
        ours += rectangle;
    // Equal regions may be made of other rectangles.
    return ours.xored(QRegion(QBitmap::fromImage(frame.createAlphaMask()))).isEmpty();
}

} // namespace

BENCHMARK_CAPTURE(measure, body / ours, ov3d::bench::bodyPicture, shapeByRectangles)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, body / region_of_reduced, ov3d::bench::bodyPicture, shapeByRegion)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, body / region_of_whole, ov3d::bench::bodyPicture, shapeOfWholeFrame)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, bars / ours, ov3d::bench::barsPicture, shapeByRectangles)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, bars / region_of_reduced, ov3d::bench::barsPicture, shapeByRegion)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, bars / region_of_whole, ov3d::bench::barsPicture, shapeOfWholeFrame)
    ->Args({1280, 960})
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    if (!agree(ov3d::bench::bodyPicture) || !agree(ov3d::bench::barsPicture)) {
        std::fputs("bench_hitshape: the two forms cover different pixels\n", stderr);
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
