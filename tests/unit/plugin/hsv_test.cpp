#include "src/display/imageanalysis.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

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

} // namespace

/// The conversion of colours to hue, saturation and value.
class HsvTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
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

OV3D_TEST_MAIN(HsvTest)
#include "hsv_test.moc"
