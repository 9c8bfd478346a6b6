#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <algorithm>
#include <functional>

/// What tests ask of pictures that the renderer drew.
namespace picturechecks {

/// The colour that stands for what the model does not cover.
inline const QRgb kKey = qRgb(92, 238, 20);

inline bool isNearKey(QRgb c)
{
    return qAbs(qRed(c) - 92) <= 2 && qAbs(qGreen(c) - 238) <= 2 && qAbs(qBlue(c) - 20) <= 2;
}

inline int countOf(const QImage& image, const std::function<bool(QRgb)>& wanted)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += wanted(image.pixel(x, y)) ? 1 : 0;
    return count;
}

/// The same as a part of all pixels, 0 to 1.
inline double shareOf(const QImage& image, const std::function<bool(QRgb)>& wanted)
{
    return double(countOf(image, wanted)) / (image.width() * image.height());
}

inline int shownPixels(const QImage& image)
{
    return countOf(image, [](QRgb c) { return c != kKey; });
}

inline double shownShare(const QImage& image)
{
    return shareOf(image, [](QRgb c) { return c != kKey; });
}

/// How many pixels are nearly the key without being it.
inline int pixelsNearKey(const QImage& image)
{
    return countOf(image, [](QRgb c) { return isNearKey(c) && c != kKey; });
}

inline int brightness(const QColor& c)
{
    return (c.red() + c.green() + c.blue()) / 3;
}

/// Largest difference of one channel, 0 to 255.
inline int distance(const QColor& a, const QColor& b)
{
    return std::max({qAbs(a.red() - b.red()), qAbs(a.green() - b.green()), qAbs(a.blue() - b.blue())});
}

/// Largest difference of one pixel between two pictures of one size; 999 for other pictures.
inline int difference(const QImage& a, const QImage& b)
{
    int most = a.size() == b.size() && !a.isNull() ? 0 : 999;
    for (int y = 0; y < a.height() && most < 999; ++y)
        for (int x = 0; x < a.width(); ++x)
            most = std::max(most, distance(a.pixelColor(x, y), b.pixelColor(x, y)));
    return most;
}

/// Two colours in words, for the message of a failure.
inline QString text(const QColor& a, const QColor& b)
{
    return a.name() + " and " + b.name();
}

} // namespace picturechecks
