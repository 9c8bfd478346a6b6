#include "src/display/imageanalysis.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QTest>

#include <algorithm>
#include <cmath>
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

QImage noise(std::mt19937& random, const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32);
    std::uniform_int_distribution<int> alpha(0, 1);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgba(9, 9, 9, alpha(random) * 255));
    }
    return image;
}

struct Hsv
{
    int hue = -99;
    int saturation = -99;
    int value = -99;
};

Hsv hsvOf(int red, int green, int blue)
{
    Hsv hsv;
    rgb_to_hsv(red, green, blue, &hsv.hue, &hsv.saturation, &hsv.value);
    return hsv;
}

int roundedHalfUp(double number)
{
    return static_cast<int>(std::floor(number + 0.5));
}

/// The textbook conversion in floating point, with the hue's sextants chosen as the integer one does.
Hsv referenceHsv(int red, int green, int blue)
{
    const int largest = std::max({red, green, blue});
    const int range = largest - std::min({red, green, blue});
    Hsv hsv{-1, 0, largest};
    if (largest == 0)
        return hsv;
    hsv.saturation = roundedHalfUp(255.0 * range / largest);
    if (hsv.saturation == 0)
        return hsv;
    if (red == largest)
        hsv.hue = green >= blue ? roundedHalfUp(60.0 * (green - blue) / range)
                                : roundedHalfUp(60.0 * (green - blue) / range + 360.0);
    else if (green == largest)
        hsv.hue = roundedHalfUp(60.0 * (blue - red) / range + 120.0);
    else
        hsv.hue = roundedHalfUp(60.0 * (red - green) / range + 240.0);
    return hsv;
}

QImage plain(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::red);
    return image;
}

} // namespace

class ImageAnalysisTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_pyramidUpdate = true;
    }

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

    void smallSourcesAreNeverReduced_data()
    {
        QTest::addColumn<QSize>("requested");
        QTest::newRow("64 x 64") << QSize(64, 64);
        QTest::newRow("1 x 1") << QSize(1, 1);
        QTest::newRow("larger than the source") << QSize(2000, 2000);
    }

    void smallSourcesAreNeverReduced()
    {
        QFETCH(QSize, requested);
        const QImage source = plain(512, 512);
        QCOMPARE(getMatchImageEx(source, requested), source);
    }

    void requestsOfZeroWidthOrHeightAreNotReduced_data()
    {
        QTest::addColumn<QSize>("requested");
        QTest::newRow("zero width") << QSize(0, 64);
        QTest::newRow("zero height") << QSize(64, 0);
        QTest::newRow("both zero") << QSize(0, 0);
    }

    void requestsOfZeroWidthOrHeightAreNotReduced()
    {
        QFETCH(QSize, requested);
        const QImage source = plain(2048, 2048);
        QCOMPARE(getMatchImageEx(source, requested), source);
    }

    void ratioOfTheAreasChoosesTheLevel_data()
    {
        QTest::addColumn<QSize>("source");
        QTest::addColumn<QSize>("requested");
        QTest::addColumn<QSize>("result");
        QTest::newRow("ratio 16") << QSize(1024, 1024) << QSize(256, 256) << QSize(256, 256);
        QTest::newRow("ratio 256") << QSize(1024, 1024) << QSize(64, 64) << QSize(64, 64);
        QTest::newRow("ratio 15.9 counts as 15") << QSize(1023, 1024) << QSize(256, 256) << QSize(1023, 1024);
        QTest::newRow("ratio 255.9 counts as 255") << QSize(1023, 1024) << QSize(64, 64) << QSize(255, 256);
        QTest::newRow("the request's shape does not matter") << QSize(1024, 1024) << QSize(1, 65536) << QSize(256, 256);
        QTest::newRow("the result is not the requested size") << QSize(1000, 600) << QSize(100, 100) << QSize(250, 150);
        QTest::newRow("sizes are cut, not rounded") << QSize(1027, 1031) << QSize(16, 16) << QSize(64, 64);
        QTest::newRow("just above the unreduced area") << QSize(512, 513) << QSize(1, 1) << QSize(32, 32);
        QTest::newRow("one negative side") << QSize(1024, 1024) << QSize(-64, 64) << QSize(1024, 1024);
        QTest::newRow("two negative sides") << QSize(1024, 1024) << QSize(-64, -64) << QSize(64, 64);
        QTest::newRow("a request of more than 32 bits")
            << QSize(1024, 1024) << QSize(65536, 65536) << QSize(1024, 1024);
    }

    void ratioOfTheAreasChoosesTheLevel()
    {
        QFETCH(QSize, source);
        QFETCH(QSize, requested);
        QTEST(getMatchImageEx(plain(source.width(), source.height()), requested).size(), "result");
    }

    void sixteenthIsReducedFromTheQuarter()
    {
        std::mt19937 random(3);
        const QImage source = noise(random, QSize(1030, 1021));
        const QImage quarter = source.scaled(257, 255, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QCOMPARE(getMatchImageEx(source, QSize(256, 256)), quarter);
        const QImage larger = noise(random, QSize(1041, 1100));
        QCOMPARE(getMatchImageEx(larger, QSize(64, 64)),
                 larger.scaled(260, 275, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .scaled(65, 68, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }

    void reductionWithoutThePyramidIsNull()
    {
        m_pyramidUpdate = false;
        QVERIFY(getMatchImageEx(plain(1024, 1024), QSize(256, 256)).isNull());
        QVERIFY(getMatchImageEx(plain(1024, 1024), QSize(64, 64)).isNull());
    }

    void sourcesThatNeedNoReductionDoWithoutThePyramid()
    {
        m_pyramidUpdate = false;
        QCOMPARE(getMatchImageEx(plain(512, 512), QSize(1, 1)).size(), QSize(512, 512));
        QCOMPARE(getMatchImageEx(plain(1024, 1024), QSize(0, 0)).size(), QSize(1024, 1024));
        QCOMPARE(getMatchImageEx(plain(1024, 1024), QSize(512, 512)).size(), QSize(1024, 1024));
    }

    void sourceTooFlatForAQuarterBecomesNullWithoutAWarning()
    {
        QVERIFY(getMatchImageEx(plain(200000, 2), QSize(16, 16)).isNull());
        QVERIFY(getMatchImageEx(plain(40000, 8), QSize(8, 8)).isNull());
    }

    void nullSourceStaysNull() { QVERIFY(getMatchImageEx(QImage(), QSize(16, 16)).isNull()); }

    void matchImageIsTheSame()
    {
        const QImage source = plain(1200, 1100);
        QCOMPARE(getMatchImage(source, QSize(64, 64)), getMatchImageEx(source, QSize(64, 64)));
        QCOMPARE(getMatchImage(source, QSize(64, 64)).size(), QSize(75, 68));
        m_pyramidUpdate = false;
        QVERIFY(getMatchImage(source, QSize(64, 64)).isNull());
    }

    void pathImageFitsIntoTheLimit_data()
    {
        QTest::addColumn<QSize>("source");
        QTest::addColumn<QSize>("result");
        QTest::newRow("small images stay") << QSize(200, 100) << QSize(200, 100);
        QTest::newRow("the limit itself stays") << QSize(256, 256) << QSize(256, 256);
        QTest::newRow("one pixel over is scaled") << QSize(256, 257) << QSize(255, 256);
        QTest::newRow("one side over, area not") << QSize(512, 100) << QSize(512, 100);
        QTest::newRow("landscape") << QSize(512, 256) << QSize(256, 128);
        QTest::newRow("portrait") << QSize(256, 512) << QSize(128, 256);
        QTest::newRow("the initial size is quartered and then scaled") << QSize(1280, 960) << QSize(256, 192);
        QTest::newRow("quartered alone") << QSize(1024, 1024) << QSize(256, 256);
        QTest::newRow("a sixteenth") << QSize(4096, 4096) << QSize(256, 256);
    }

    void pathImageFitsIntoTheLimit()
    {
        QFETCH(QSize, source);
        QImage output;
        QVERIFY(getImageForPath(plain(source.width(), source.height()), output, 256));
        QTEST(output.size(), "result");
    }

    void pathImageIsScaledSmoothlyFromTheReducedOne()
    {
        std::mt19937 random(11);
        const QImage source = noise(random, QSize(1280, 960));
        QImage output;
        getImageForPath(source, output, 256);
        QCOMPARE(output, source.scaled(320, 240, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                             .scaled(256, 256, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }

    void pathImageOfANullImageIsNull()
    {
        QImage output = plain(4, 4);
        QVERIFY(getImageForPath(QImage(), output, 256));
        QVERIFY(output.isNull());
    }

    void pathImageIsNullWhenTheReductionIsOff()
    {
        m_pyramidUpdate = false;
        QImage output = plain(4, 4);
        QVERIFY(getImageForPath(plain(1024, 1024), output, 256));
        QVERIFY(output.isNull());
        QVERIFY(rectsFromImage(output, 1).isEmpty());
    }

    void knownColoursHaveTheirHsv_data()
    {
        QTest::addColumn<int>("red");
        QTest::addColumn<int>("green");
        QTest::addColumn<int>("blue");
        QTest::addColumn<int>("hue");
        QTest::addColumn<int>("saturation");
        QTest::addColumn<int>("value");
        QTest::newRow("black") << 0 << 0 << 0 << -1 << 0 << 0;
        QTest::newRow("grey") << 10 << 10 << 10 << -1 << 0 << 10;
        QTest::newRow("white") << 255 << 255 << 255 << -1 << 0 << 255;
        QTest::newRow("red") << 255 << 0 << 0 << 0 << 255 << 255;
        QTest::newRow("green") << 0 << 255 << 0 << 120 << 255 << 255;
        QTest::newRow("blue") << 0 << 0 << 255 << 240 << 255 << 255;
        QTest::newRow("yellow, red wins the tie") << 255 << 255 << 0 << 60 << 255 << 255;
        QTest::newRow("cyan, green wins the tie") << 0 << 255 << 255 << 180 << 255 << 255;
        QTest::newRow("magenta, red wins the tie") << 255 << 0 << 255 << 300 << 255 << 255;
        QTest::newRow("a hue that rounds to 360") << 255 << 0 << 1 << 360 << 255 << 255;
        QTest::newRow("almost grey") << 255 << 255 << 254 << 60 << 1 << 255;
        QTest::newRow("dark") << 1 << 0 << 0 << 0 << 255 << 1;
        QTest::newRow("half saturated") << 200 << 100 << 100 << 0 << 128 << 200;
        QTest::newRow("the key colour") << 92 << 238 << 20 << 100 << 234 << 238;
    }

    void knownColoursHaveTheirHsv()
    {
        QFETCH(int, red);
        QFETCH(int, green);
        QFETCH(int, blue);
        const Hsv hsv = hsvOf(red, green, blue);
        QTEST(hsv.hue, "hue");
        QTEST(hsv.saturation, "saturation");
        QTEST(hsv.value, "value");
    }

    void hsvAgreesWithTheFloatingPointFormula()
    {
        std::vector<int> levels = {0, 1, 2, 254, 255};
        for (int level = 5; level < 254; level += 7)
            levels.push_back(level);
        for (const int red : levels) {
            for (const int green : levels) {
                for (const int blue : levels) {
                    const Hsv hsv = hsvOf(red, green, blue);
                    const Hsv expected = referenceHsv(red, green, blue);
                    if (hsv.hue == expected.hue && hsv.saturation == expected.saturation && hsv.value == expected.value)
                        continue;
                    QFAIL(qPrintable(QStringLiteral("%1 %2 %3: hue %4 instead of %5, saturation %6 instead of %7")
                                         .arg(red)
                                         .arg(green)
                                         .arg(blue)
                                         .arg(hsv.hue)
                                         .arg(expected.hue)
                                         .arg(hsv.saturation)
                                         .arg(expected.saturation)));
                }
            }
        }
    }
};

OV3D_TEST_MAIN(ImageAnalysisTest)
#include "imageanalysis_test.moc"
