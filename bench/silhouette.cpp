/// From samples to the picture with its outline: the renderer's pass against three plain passes with whole pictures
/// between them.

#include "viewer/renderer/picture/silhouette.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

using ov3d::renderer::Rgb;
using ov3d::renderer::Samples;
using Bytes = std::vector<std::uint8_t>;
using Writing = void (*)(const Samples&, std::uint8_t*, std::size_t);

std::size_t rowBytesOf(int width)
{
    return (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4;
}

/// A round body with a ring of holes, as OpenGL returns it.
Bytes drawSamples(int width, int height, int factor)
{
    const int columns = width * factor;
    const int rows = height * factor;
    Bytes rgba(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * 4);
    std::uint8_t* sample = rgba.data();
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x, sample += 4) {
            const double distance = std::hypot(x - columns / 2.0, y - rows / 2.0) / (0.45 * rows);
            const bool isHole = distance > 0.6 && distance < 0.7 && (x / (4 * factor)) % 3 == 0;
            sample[0] = static_cast<std::uint8_t>(x % 251);
            sample[1] = static_cast<std::uint8_t>(y % 199);
            sample[2] = static_cast<std::uint8_t>((x + y) % 151);
            sample[3] = distance < 1 && !isHole ? 255 : 0;
        }
    }
    return rgba;
}

struct Picture
{
    std::vector<Rgb> colours;
    std::vector<bool> shown;
};

/// One colour a pixel, with the picture the right way up.
Picture averageNaively(const Samples& samples)
{
    Picture picture;
    for (int y = samples.height - 1; y >= 0; --y) {
        for (int x = 0; x < samples.width; ++x) {
            double sums[3] = {};
            int covered = 0;
            for (int row = 0; row < samples.factor; ++row) {
                for (int column = 0; column < samples.factor; ++column) {
                    const auto index = static_cast<std::size_t>(
                        (y * samples.factor + row) * samples.width * samples.factor + x * samples.factor + column);
                    const std::uint8_t* sample = samples.rgba + index * 4;
                    if (sample[3] == 0)
                        continue;
                    ++covered;
                    for (int i = 0; i < 3; ++i)
                        sums[i] += sample[i];
                }
            }
            Rgb colour{};
            for (std::size_t i = 0; i < 3 && covered > 0; ++i)
                colour[i] = static_cast<std::uint8_t>(std::floor(sums[i] / covered + 0.5));
            picture.shown.push_back(2 * covered >= samples.factor * samples.factor && covered > 0);
            picture.colours.push_back(ov3d::renderer::avoidKey(colour));
        }
    }
    return picture;
}

Picture widenNaively(const Picture& picture, int width, int height)
{
    Picture wide = picture;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto index =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
            if (picture.shown[index])
                continue;
            wide.colours[index] = ov3d::renderer::kKeyColour;
            if (x > 0 && picture.shown[index - 1])
                wide.colours[index] = picture.colours[index - 1];
            else if (x + 1 < width && picture.shown[index + 1])
                wide.colours[index] = picture.colours[index + 1];
        }
    }
    return wide;
}

void writeNaively(const Samples& samples, std::uint8_t* rgb, std::size_t rowBytes)
{
    const Picture wide = widenNaively(averageNaively(samples), samples.width, samples.height);
    for (int y = 0; y < samples.height; ++y) {
        for (std::size_t i = 0; i < rowBytes; ++i)
            rgb[static_cast<std::size_t>(y) * rowBytes + i] = 0;
        for (int x = 0; x < samples.width; ++x)
            for (std::size_t i = 0; i < 3; ++i)
                rgb[static_cast<std::size_t>(y) * rowBytes + static_cast<std::size_t>(x) * 3 + i] =
                    wide.colours[static_cast<std::size_t>(y * samples.width + x)][i];
    }
}

void measure(benchmark::State& state, Writing write)
{
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    const auto factor = static_cast<int>(state.range(2));
    const Bytes rgba = drawSamples(width, height, factor);
    Bytes picture(rowBytesOf(width) * static_cast<std::size_t>(height));
    for (auto step : state) {
        write({rgba.data(), width, height, factor}, picture.data(), rowBytesOf(width));
        benchmark::DoNotOptimize(picture.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * width * height);
}

bool agree(int factor)
{
    constexpr int kWidth = 203;
    constexpr int kHeight = 151;
    const Bytes rgba = drawSamples(kWidth, kHeight, factor);
    Bytes ours(rowBytesOf(kWidth) * kHeight, 0xff);
    Bytes naive(ours);
    const Samples samples{rgba.data(), kWidth, kHeight, factor};
    ov3d::renderer::writeKeyedPicture(samples, ours.data(), rowBytesOf(kWidth));
    writeNaively(samples, naive.data(), rowBytesOf(kWidth));
    return ours == naive;
}

} // namespace

BENCHMARK_CAPTURE(measure, one_sample / ours, ov3d::renderer::writeKeyedPicture)
    ->Args({1280, 960, 1})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, one_sample / naive, writeNaively)->Args({1280, 960, 1})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, four_samples / ours, ov3d::renderer::writeKeyedPicture)
    ->Args({1280, 960, 2})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, four_samples / naive, writeNaively)->Args({1280, 960, 2})->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    if (!agree(1) || !agree(2) || !agree(3)) {
        std::fputs("bench_silhouette: the two forms give different pictures\n", stderr);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
