#include "src/display/imageanalysis.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/plugin/testimages.h"

#include <QTest>

#include <random>
#include <vector>

namespace {

/// A picture from text rows: '#' is opaque, everything else fully transparent.
QImage picture(const QStringList& rows)
{
    QImage image(rows.first().size(), rows.size(), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    for (int y = 0; y < rows.size(); ++y) {
        for (int x = 0; x < rows[y].size(); ++x) {
            if (rows[y][x] == QLatin1Char('#'))
                image.setPixel(x, y, qRgba(1, 2, 3, 255));
        }
    }
    return image;
}

QRect block(int left, int top, int right, int bottom)
{
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

/// How often each pixel is covered.
std::vector<int> coverage(const QList<QRect>& rectangles, const QSize& size)
{
    std::vector<int> counts(static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()), 0);
    for (const QRect& rectangle : rectangles) {
        if (!QRect(QPoint(), size).contains(rectangle))
            return {};
        for (int y = rectangle.top(); y <= rectangle.bottom(); ++y) {
            for (int x = rectangle.left(); x <= rectangle.right(); ++x)
                ++counts[static_cast<std::size_t>(y * size.width() + x)];
        }
    }
    return counts;
}

int valueAt(const QImage& image, int x, int y)
{
    const uchar* line = image.constScanLine(y);
    return image.depth() == 8 ? line[x] : line[4 * x + 3];
}

/// 1 for each pixel at or above the threshold.
std::vector<int> opaquePixels(const QImage& image, int threshold)
{
    std::vector<int> pixels;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            pixels.push_back(valueAt(image, x, y) >= threshold ? 1 : 0);
    }
    return pixels;
}

/// Random values in random blots, so that runs and blocks of all lengths occur.
QImage randomImage(std::mt19937& random, QImage::Format format)
{
    std::uniform_int_distribution<int> side(1, 40);
    const QSize size(side(random), side(random));
    QImage image(size, format);
    if (format == QImage::Format_Indexed8)
        image.setColorCount(256);
    image.fill(0);
    const int blots = std::uniform_int_distribution<int>(0, 12)(random);
    for (int i = 0; i < blots; ++i) {
        const int left = std::uniform_int_distribution<int>(0, size.width() - 1)(random);
        const int top = std::uniform_int_distribution<int>(0, size.height() - 1)(random);
        const int right = std::uniform_int_distribution<int>(left, size.width() - 1)(random);
        const int bottom = std::uniform_int_distribution<int>(top, size.height() - 1)(random);
        const int value = std::uniform_int_distribution<int>(0, 255)(random);
        for (int y = top; y <= bottom; ++y) {
            for (int x = left; x <= right; ++x) {
                uchar* line = image.scanLine(y);
                (image.depth() == 8 ? line[x] : line[4 * x + 3]) = static_cast<uchar>(value);
            }
        }
    }
    return image;
}

} // namespace

/// The rectangles that cover the opaque part of a frame.
class OpaqueRectanglesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void depthsOtherThan8And32GiveNoRectangles_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("24 bits") << int(QImage::Format_RGB888);
        QTest::newRow("16 bits") << int(QImage::Format_RGB16);
        QTest::newRow("1 bit") << int(QImage::Format_Mono);
        QTest::newRow("64 bits") << int(QImage::Format_RGBA64);
    }

    void depthsOtherThan8And32GiveNoRectangles()
    {
        QFETCH(int, format);
        QImage image(8, 8, static_cast<QImage::Format>(format));
        image.fill(1);
        QVERIFY(rectsFromImage(image, 0).isEmpty());
    }

    void nullImageGivesNoRectangles() { QVERIFY(rectsFromImage(QImage(), 1).isEmpty()); }

    void opaqueImageIsOneRectangle_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("one pixel") << QSize(1, 1);
        QTest::newRow("one row") << QSize(9, 1);
        QTest::newRow("one column") << QSize(1, 9);
        QTest::newRow("wide") << QSize(300, 7);
        QTest::newRow("large") << QSize(640, 480);
    }

    void opaqueImageIsOneRectangle()
    {
        QFETCH(QSize, size);
        QCOMPARE(rectsFromImage(plain(size.width(), size.height()), 1), (QList<QRect>{QRect(QPoint(0, 0), size)}));
    }

    void transparentImageGivesNoRectangles()
    {
        QImage image(16, 16, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QVERIFY(rectsFromImage(image, 1).isEmpty());
    }

    void blobsSideBySideAreTwoTallRectanglesLeftOneFirst()
    {
        const QImage image = picture({" ##  ### ", " ##  ### ", " ##  ### "});
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(1, 0, 2, 2), block(5, 0, 7, 2)}));
    }

    void changeOfTheNumberOfRunsClosesEveryBlock()
    {
        const QImage image = picture({"##   ##", "##   ##", "##  # #", "##   ##"});
        QCOMPARE(rectsFromImage(image, 1),
                 (QList<QRect>{block(0, 0, 1, 1), block(5, 0, 6, 1), block(0, 2, 1, 2), block(4, 2, 4, 2),
                               block(6, 2, 6, 2), block(0, 3, 1, 3), block(5, 3, 6, 3)}));
    }

    void changeOfOneRunsColumnsClosesEveryBlock()
    {
        const QImage image = picture({"##  ##", "##  # ", "##  # "});
        QCOMPARE(rectsFromImage(image, 1),
                 (QList<QRect>{block(0, 0, 1, 0), block(4, 0, 5, 0), block(0, 1, 1, 2), block(4, 1, 4, 2)}));
    }

    void shiftedRunOfTheSameWidthClosesItsBlock()
    {
        const QImage image = picture({"## ", " ##"});
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(0, 0, 1, 0), block(1, 1, 2, 1)}));
    }

    void blockDoesNotGrowAcrossAnEmptyRow()
    {
        const QImage image = picture({"##", "  ", "##"});
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(0, 0, 1, 0), block(0, 2, 1, 2)}));
    }

    void emptyRowsAboveAndBelowAreSkipped()
    {
        const QImage image = picture({"   ", " # ", " # ", "   "});
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(1, 1, 1, 2)}));
    }

    void opaquePixelInTheLastColumnClosesItsRunInTheSameRow()
    {
        const QImage image = picture({"  #", "#  "});
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(2, 0, 2, 0), block(0, 1, 0, 1)}));
    }

    void valueOfA32BitPixelIsItsAlpha()
    {
        QImage image(3, 1, QImage::Format_ARGB32);
        image.setPixel(0, 0, qRgba(255, 255, 255, 0));
        image.setPixel(1, 0, qRgba(0, 0, 0, 1));
        image.setPixel(2, 0, qRgba(255, 255, 255, 0));
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(1, 0, 1, 0)}));
    }

    void imageWithoutAlphaChannelIsOpaque()
    {
        QImage image(4, 4, QImage::Format_RGB32);
        image.fill(Qt::black);
        QCOMPARE(rectsFromImage(image, 255), (QList<QRect>{block(0, 0, 3, 3)}));
    }

    void valueOfAnIndexedPixelIsItsIndex()
    {
        QImage image(3, 1, QImage::Format_Indexed8);
        image.setColorTable({qRgba(0, 0, 0, 255), qRgba(0, 0, 0, 0)});
        image.setPixel(0, 0, 0);
        image.setPixel(1, 0, 1);
        image.setPixel(2, 0, 0);
        QCOMPARE(rectsFromImage(image, 1), (QList<QRect>{block(1, 0, 1, 0)}));
    }

    void thresholdIsTheSmallestOpaqueValue()
    {
        QImage image(3, 1, QImage::Format_Grayscale8);
        image.scanLine(0)[0] = 99;
        image.scanLine(0)[1] = 100;
        image.scanLine(0)[2] = 101;
        QCOMPARE(rectsFromImage(image, 100), (QList<QRect>{block(1, 0, 2, 0)}));
    }

    void thresholdsOutsideTheValuesTakeEverythingOrNothing()
    {
        QImage image(4, 2, QImage::Format_Grayscale8);
        image.fill(0);
        QCOMPARE(rectsFromImage(image, 0), (QList<QRect>{block(0, 0, 3, 1)}));
        QCOMPARE(rectsFromImage(image, -1), (QList<QRect>{block(0, 0, 3, 1)}));
        image.fill(255);
        QVERIFY(rectsFromImage(image, 256).isEmpty());
    }

    void rectanglesCoverExactlyTheOpaquePixelsOfRandomImages_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("ARGB") << int(QImage::Format_ARGB32);
        QTest::newRow("premultiplied ARGB") << int(QImage::Format_ARGB32_Premultiplied);
        QTest::newRow("grey") << int(QImage::Format_Grayscale8);
        QTest::newRow("indexed") << int(QImage::Format_Indexed8);
    }

    void rectanglesCoverExactlyTheOpaquePixelsOfRandomImages()
    {
        QFETCH(int, format);
        std::mt19937 random(20240131);
        for (int i = 0; i < 1000; ++i) {
            const QImage image = randomImage(random, static_cast<QImage::Format>(format));
            const int threshold = std::uniform_int_distribution<int>(0, 256)(random);
            const QList<QRect> rectangles = rectsFromImage(image, threshold);
            QVERIFY2(coverage(rectangles, image.size()) == opaquePixels(image, threshold),
                     qPrintable(QStringLiteral("image %1, threshold %2").arg(i).arg(threshold)));
        }
    }

    void rectanglesCoverExactlyTheOpaquePixelsOfNoise()
    {
        std::mt19937 random(7);
        for (int width = 1; width <= 40; ++width) {
            const QImage image = noise(random, QSize(width, 33));
            QVERIFY(coverage(rectsFromImage(image, 1), image.size()) == opaquePixels(image, 1));
        }
    }
};

OV3D_TEST_MAIN(OpaqueRectanglesTest)
#include "opaquerectangles_test.moc"
