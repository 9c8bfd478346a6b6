#include "bench/testpictures.h"

#include <cmath>

namespace ov3d::bench {

namespace {

constexpr QRgb kKey = qRgb(92, 238, 20);

template <typename IsModel> QImage draw(int width, int height, IsModel isModel)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            row[x] = isModel(x, y) ? qRgb(120 + x % 97, 60 + y % 61, 80 + (x + y) % 89) : kKey;
    }
    return image;
}

} // namespace

QImage bodyPicture(int width, int height)
{
    const double radius = 0.4 * std::min(width, height);
    return draw(width, height, [=](int x, int y) { return std::hypot(x - width / 2.0, y - height / 2.0) < radius; });
}

QImage barsPicture(int width, int height)
{
    return draw(width, height, [](int x, int y) { return (x + y / 2) % 24 < 14; });
}

} // namespace ov3d::bench
