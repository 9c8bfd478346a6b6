#pragma once

#include <QImage>

#include <random>

/// An opaque picture of one colour.
inline QImage plain(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::red);
    return image;
}

/// Pixels that are fully opaque or fully transparent, by chance.
inline QImage noise(std::mt19937& random, const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32);
    std::uniform_int_distribution<int> alpha(0, 1);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgba(9, 9, 9, alpha(random) * 255));
    }
    return image;
}
