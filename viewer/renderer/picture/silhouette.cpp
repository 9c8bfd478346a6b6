#include "viewer/renderer/picture/silhouette.h"

#include "viewer/renderer/picture/rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace ov3d::renderer {
namespace {

/// Sums over the samples of one pixel.
struct Sum
{
    unsigned red = 0;
    unsigned green = 0;
    unsigned blue = 0;
    unsigned count = 0;

    void add(const std::uint8_t* sample)
    {
        red += sample[0];
        green += sample[1];
        blue += sample[2];
        ++count;
    }

    [[nodiscard]] Rgb average() const
    {
        const auto mean = [this](unsigned sum) { return static_cast<std::uint8_t>((sum + count / 2) / count); };
        return {mean(red), mean(green), mean(blue)};
    }
};

void store(std::uint8_t* row, int x, Rgb colour)
{
    std::memcpy(row + static_cast<std::size_t>(x) * 3, colour.data(), 3);
}

/// Calls `use` with each sample of a pixel. `y` counts from the top.
template <typename Use> void forEachSample(const Samples& samples, int x, int y, Use use)
{
    const std::size_t stride = static_cast<std::size_t>(samples.width) * static_cast<std::size_t>(samples.factor) * 4;
    const auto bottomRow = static_cast<std::size_t>(samples.height - 1 - y) * static_cast<std::size_t>(samples.factor);
    const std::uint8_t* corner =
        samples.rgba + bottomRow * stride + static_cast<std::size_t>(x) * static_cast<std::size_t>(samples.factor) * 4;
    for (int row = 0; row < samples.factor; ++row, corner += stride)
        for (int column = 0; column < samples.factor; ++column)
            use(corner + static_cast<std::size_t>(column) * 4);
}

void zeroPadding(std::uint8_t* row, int width, std::size_t rowBytes)
{
    const std::size_t used = static_cast<std::size_t>(width) * 3;
    std::memset(row + used, 0, rowBytes - used);
}

/// Stands for "no model here" until a row is widened: no model's pixel is of this colour.
bool isKey(const std::uint8_t* pixel)
{
    return std::memcmp(pixel, kKeyColour.data(), 3) == 0;
}

/// Writes the colours of one row where the model is, and the key colour elsewhere.
void resolveRow(const Samples& samples, int y, std::uint8_t* row)
{
    const auto needed = static_cast<unsigned>(samples.factor * samples.factor + 1) / 2;
    for (int x = 0; x < samples.width; ++x) {
        Sum sum;
        forEachSample(samples, x, y, [&sum](const std::uint8_t* sample) {
            if (sample[3] != 0)
                sum.add(sample);
        });
        store(row, x, sum.count >= needed ? avoidKey(sum.average()) : kKeyColour);
    }
}

/// The pixel beside each end of a run takes the end's colour.
void widenRuns(std::uint8_t* row, int width)
{
    bool wasShown = false;
    for (int x = 0; x < width; ++x) {
        std::uint8_t* pixel = row + static_cast<std::size_t>(x) * 3;
        const bool isShown = !isKey(pixel);
        if (!isShown && wasShown)
            std::memcpy(pixel, pixel - 3, 3);
        else if (!isShown && x + 1 < width && !isKey(pixel + 3))
            std::memcpy(pixel, pixel + 3, 3);
        wasShown = isShown;
    }
}

} // namespace

Rgb avoidKey(Rgb colour)
{
    for (std::size_t channel = 0; channel < 3; ++channel)
        if (std::abs(int{colour[channel]} - int{kKeyColour[channel]}) > kKeyTolerance)
            return colour;
    // Green alone decides: the smallest change that no eye sees.
    constexpr int step = kKeyTolerance + 1;
    colour[1] = static_cast<std::uint8_t>(colour[1] < kKeyColour[1] ? kKeyColour[1] - step : kKeyColour[1] + step);
    return colour;
}

void writeKeyedPicture(const Samples& samples, std::uint8_t* rgb, std::size_t rowBytes)
{
    forAllRows(samples.height, [&](int y) {
        std::uint8_t* row = rgb + static_cast<std::size_t>(y) * rowBytes;
        resolveRow(samples, y, row);
        widenRuns(row, samples.width);
        zeroPadding(row, samples.width, rowBytes);
    });
}

void writeOpaquePicture(const Samples& samples, std::uint8_t* rgb, std::size_t rowBytes)
{
    forAllRows(samples.height, [&](int y) {
        std::uint8_t* row = rgb + static_cast<std::size_t>(y) * rowBytes;
        for (int x = 0; x < samples.width; ++x) {
            Sum sum;
            forEachSample(samples, x, y, [&sum](const std::uint8_t* sample) { sum.add(sample); });
            store(row, x, avoidKey(sum.average()));
        }
        zeroPadding(row, samples.width, rowBytes);
    });
}

} // namespace ov3d::renderer
