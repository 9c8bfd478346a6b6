#include "models/textures.h"

#include "models/mesh.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace ov3d::models {

namespace {

constexpr int kBrickRows = 8;
constexpr double kMortar = 0.09; ///< of a brick's height

struct Rgba
{
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
};

QImage painted(int size, const std::function<Rgba(double u, double v)>& colour)
{
    const auto byte = [](double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255)); };
    QImage image(size, size, QImage::Format_RGBA8888);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const Rgba c = colour((x + 0.5) / size, (y + 0.5) / size);
            image.setPixelColor(x, y, QColor(byte(c.red), byte(c.green), byte(c.blue), byte(c.alpha)));
        }
    return image;
}

double wrapped(double value)
{
    return value - std::floor(value);
}

/// A number from 0 to 1 for each brick.
double tintOf(int row, int column)
{
    return wrapped(std::sin(row * 12.9898 + column * 78.233) * 43758.5453);
}

struct Brick
{
    double height = 0; ///< 0 in the mortar, 1 on top
    double tint = 0;
};

Brick brickAt(double u, double v)
{
    const double y = wrapped(v) * kBrickRows;
    const int row = static_cast<int>(y);
    const double x = wrapped(u + (row % 2) * 0.125) * kBrickRows / 2;
    // Distance from the joint, in bricks' heights.
    const double across = std::min(y - row, 1 - (y - row));
    const double along = std::min(x - std::floor(x), 1 - (x - std::floor(x))) * 2;
    const double edge = (std::min(across, along) - kMortar) / 0.10;
    const double t = std::clamp(edge, 0.0, 1.0);
    return {t * t * (3 - 2 * t), tintOf(row, static_cast<int>(x))};
}

} // namespace

QImage bricksTexture(int size)
{
    return painted(size, [](double u, double v) {
        const Brick brick = brickAt(u, v);
        const double shade = 0.82 + 0.30 * brick.tint;
        const double h = brick.height;
        return Rgba{0.62 + (0.62 * shade - 0.62) * h, 0.59 + (0.25 * shade - 0.59) * h,
                    0.55 + (0.18 * shade - 0.55) * h};
    });
}

QImage bricksNormals(int size)
{
    const double step = 1.0 / size;
    return painted(size, [step](double u, double v) {
        const double dx = (brickAt(u - step, v).height - brickAt(u + step, v).height) * 0.9;
        const double dy = (brickAt(u, v + step).height - brickAt(u, v - step).height) * 0.9;
        const double length = std::sqrt(dx * dx + dy * dy + 1);
        return Rgba{0.5 + 0.5 * dx / length, 0.5 + 0.5 * dy / length, 0.5 + 0.5 / length};
    });
}

QImage bricksSurface(int size)
{
    return painted(size, [](double u, double v) {
        const Brick brick = brickAt(u, v);
        return Rgba{0.45 + 0.55 * brick.height, 0.95 - 0.45 * brick.height * brick.tint, 0.0};
    });
}

QImage windowsTexture(int size)
{
    return painted(size, [](double u, double v) {
        const double x = wrapped(u * 6) - 0.5;
        const double y = wrapped(v * 3) - 0.5;
        const bool pane = std::abs(x) < 0.32 && std::abs(y) < 0.36 && std::abs(x) > 0.03;
        return pane ? Rgba{1.0, 0.80, 0.42} : Rgba{};
    });
}

QImage leafTexture(int size)
{
    return painted(size, [](double u, double v) {
        const double along = v;
        const double across = std::abs(u - 0.5);
        const double teeth = 0.02 * std::abs(std::sin(along * 40));
        const double width = 0.38 * std::sin(std::numbers::pi * std::pow(along, 0.8)) - teeth;
        const bool stalk = along > 0.9 && across < 0.02;
        const bool vein = across < 0.012 || std::abs(std::sin((along * 7 + across * 5) * std::numbers::pi)) < 0.10;
        const double light = vein ? 1.35 : 1.0;
        return Rgba{0.24 * light, 0.50 * light, 0.16 * light, across < width || stalk ? 1.0 : 0.0};
    });
}

QImage stripesTexture(int size)
{
    return painted(size, [](double u, double v) {
        return wrapped((u + v) * 4) < 0.5 ? Rgba{0.98, 0.80, 0.10} : Rgba{0.10, 0.10, 0.10};
    });
}

} // namespace ov3d::models
