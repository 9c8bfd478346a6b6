#include "src/display/imageanalysis.h"

#include "src/plugin/ov3dobject_shared_global.h"

#include <QMap>

#include <algorithm>

namespace {

constexpr qint64 kUnreducedArea = 512 * 512;
constexpr qint64 kSixteenthRatio = 255;
constexpr qint64 kQuarterRatio = 15;
constexpr int kQuarter = 4;
constexpr int kSixteenth = 16;

qint64 area(const QSize& size)
{
    return static_cast<qint64>(size.width()) * size.height();
}

/// Width times height in 32 bits, wrapping as unsigned numbers do.
quint32 area32(const QRect& rectangle)
{
    return static_cast<quint32>(rectangle.width()) * static_cast<quint32>(rectangle.height());
}

/// The runs of values at or above the threshold in one row.
void findRuns(const uchar* values, int step, int width, int y, int threshold, QList<QRect>& runs)
{
    bool inRun = false;
    int start = 0;
    for (int x = 0; x < width; ++x, values += step) {
        if (*values >= threshold) {
            if (!inRun)
                start = x;
            if (x == width - 1)
                runs.append(QRect(QPoint(start, y), QPoint(x, y)));
            inRun = true;
        } else {
            if (inRun)
                runs.append(QRect(QPoint(start, y), QPoint(x - 1, y)));
            inRun = false;
        }
    }
}

/// @return whether every run continues the block of the same index: same columns, directly below it.
bool continuesBlocks(const QList<QRect>& blocks, const QList<QRect>& runs)
{
    if (blocks.size() != runs.size())
        return false;
    for (int i = 0; i < blocks.size(); ++i) {
        if (area32(blocks[i].united(runs[i])) != area32(blocks[i]) + area32(runs[i]))
            return false;
    }
    return true;
}

QImage scaledDown(const QImage& image, int divisor)
{
    const QSize size(image.width() / divisor, image.height() / divisor);
    return size.isEmpty() ? QImage() : image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

QList<QRect> rectsFromImage(const QImage& image, int threshold)
{
    const int bytesPerPixel = image.depth() / 8;
    if (bytesPerPixel != 1 && bytesPerPixel != 4)
        return {};
    const int valueByte = bytesPerPixel - 1;

    QList<QRect> result;
    QList<QRect> open; // blocks that still grow downward
    QList<QRect> runs;
    for (int y = 0; y < image.height(); ++y) {
        runs.clear();
        findRuns(image.constScanLine(y) + valueByte, bytesPerPixel, image.width(), y, threshold, runs);
        if (runs.isEmpty())
            continue; // an empty row closes nothing: a block can only grow by the row directly below it anyway
        if (continuesBlocks(open, runs)) {
            for (int i = 0; i < open.size(); ++i)
                open[i] = open[i].united(runs[i]);
        } else {
            result.append(open);
            open = runs;
        }
    }
    result.append(open);
    return result;
}

QImage getMatchImageEx(const QImage& source, const QSize& requested)
{
    if (requested.width() == 0 || requested.height() == 0)
        return source;
    if (area(source.size()) <= kUnreducedArea)
        return source;

    const qint64 ratio = area(source.size()) / area(requested);
    int level = 0;
    if (ratio > kSixteenthRatio)
        level = kSixteenth;
    else if (ratio > kQuarterRatio)
        level = kQuarter;
    else
        return source;

    QMap<int, QImage> pyramid;
    if (m_pyramidUpdate) {
        pyramid.insert(kQuarter, scaledDown(source, 4));
        if (level == kSixteenth)
            pyramid.insert(kSixteenth, scaledDown(pyramid.value(kQuarter), 4));
    }
    return pyramid.value(level);
}

QImage getMatchImage(const QImage& source, const QSize& requested)
{
    return getMatchImageEx(source, requested);
}

bool getImageForPath(const QImage& source, QImage& output, int limit)
{
    const QSize box(limit, limit);
    const QImage reduced = getMatchImage(source, box);
    output =
        area(reduced.size()) > area(box) ? reduced.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation) : reduced;
    return true;
}

void rgb_to_hsv(int r, int g, int b, int* h, int* s, int* v)
{
    const auto red = static_cast<unsigned>(r);
    const auto green = static_cast<unsigned>(g);
    const auto blue = static_cast<unsigned>(b);
    const bool redIsLargest = red >= green && red >= blue;
    const bool greenIsLargest = !redIsLargest && green >= blue;
    const unsigned largest = redIsLargest ? red : greenIsLargest ? green : blue;
    const unsigned smallest = std::min({red, green, blue});

    *h = -1;
    *s = 0;
    *v = static_cast<int>(largest);
    if (largest == 0)
        return;

    const unsigned range = largest - smallest;
    *s = static_cast<int>((range * 510 + largest) / (2 * largest)); // 255 * range / largest, rounded half up
    if (*s == 0)
        return;

    // Each line is 60 * difference / range, rounded half up, shifted so that the numerator stays positive.
    const int delta = static_cast<int>(range);
    if (redIsLargest)
        *h = g >= b ? ((g - b) * 120 + delta) / (2 * delta) : ((delta + g - b) * 120 + delta) / (2 * delta) + 300;
    else if (greenIsLargest)
        *h = r >= b ? ((delta + b - r) * 120 + delta) / (2 * delta) + 60 : ((b - r) * 120 + delta) / (2 * delta) + 120;
    else
        *h = r <= g ? ((delta + r - g) * 120 + delta) / (2 * delta) + 180 : ((r - g) * 120 + delta) / (2 * delta) + 240;
}
