#include "src/render/backgroundkeying.h"

#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QColor>
#include <QImage>

namespace {

const QRgb kKey = qRgb(92, 238, 20);
const QRgb kOther = qRgb(10, 20, 30);

/// One letter a pixel: k is the key colour, any other letter is not.
QImage imageOf(const QStringList& rows)
{
    QImage image(rows.first().size(), rows.size(), QImage::Format_ARGB32);
    for (int y = 0; y < rows.size(); ++y) {
        for (int x = 0; x < rows[y].size(); ++x)
            image.setPixel(x, y, rows[y][x] == QLatin1Char('k') ? kKey : kOther);
    }
    return image;
}

/// One letter a pixel: a dot is transparent, # is opaque.
QStringList opacityOf(const QImage& image)
{
    QStringList rows;
    for (int y = 0; y < image.height(); ++y) {
        QString row;
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = qAlpha(image.pixel(x, y));
            row += QLatin1Char(alpha == 0 ? '.' : alpha == 255 ? '#' : '?');
        }
        rows << row;
    }
    return rows;
}

} // namespace

class BackgroundKeyingTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void runsOfKeyColourBecomeTransparentWithOnePixelOfFringe_data();
    void runsOfKeyColourBecomeTransparentWithOnePixelOfFringe();
    void toleranceIsTwoOnEveryChannel_data();
    void toleranceIsTwoOnEveryChannel();
    void onlyAlphaBytesChange();
    void anEmptyImageIsLeftAlone();
};

void BackgroundKeyingTest::runsOfKeyColourBecomeTransparentWithOnePixelOfFringe_data()
{
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("all key colour") << QStringList{"kkkk", "kkkk"} << QStringList{"....", "...."};
    QTest::newRow("no key colour") << QStringList{"mmmm", "mmmm"} << QStringList{"####", "####"};
    QTest::newRow("one pixel on each side of a run") << QStringList{"mmkkmm"} << QStringList{"#....#"};
    QTest::newRow("a single pixel between two runs") << QStringList{"kkmkk"} << QStringList{"....."};
    QTest::newRow("two pixels between two runs") << QStringList{"kkmmkk"} << QStringList{"......"};
    QTest::newRow("three pixels between two runs keep the middle one")
        << QStringList{"kkmmmkk"} << QStringList{"...#..."};
    QTest::newRow("a row that ends in key pixels takes the next row's first pixel")
        << QStringList{"mmmk", "mmmm"} << QStringList{"##..", ".###"};
    QTest::newRow("a row that begins with key pixels leaves the row above alone")
        << QStringList{"mmmm", "kmmm"} << QStringList{"####", "..##"};
    QTest::newRow("a pending pixel at a row's end is forgotten at a key pixel in the next row")
        << QStringList{"mmmm", "kkkm", "mmmm"} << QStringList{"####", "....", "####"};
    QTest::newRow("a fringe pixel is not pending itself") << QStringList{"kmk"} << QStringList{"..."};
    QTest::newRow("the fringe taken in the next row is not pending there")
        << QStringList{"mk", "mm", "mm"} << QStringList{"..", ".#", "##"};
}

void BackgroundKeyingTest::runsOfKeyColourBecomeTransparentWithOnePixelOfFringe()
{
    QFETCH(QStringList, rows);
    QFETCH(QStringList, expected);
    QImage image = imageOf(rows);
    keyOutBackground(image);
    QCOMPARE(opacityOf(image), expected);
}

void BackgroundKeyingTest::toleranceIsTwoOnEveryChannel_data()
{
    QTest::addColumn<QRgb>("colour");
    QTest::addColumn<bool>("isKey");
    QTest::newRow("the key colour") << qRgb(92, 238, 20) << true;
    QTest::newRow("blue two above") << qRgb(92, 238, 22) << true;
    QTest::newRow("blue three above") << qRgb(92, 238, 23) << false;
    QTest::newRow("blue two below") << qRgb(92, 238, 18) << true;
    QTest::newRow("blue three below") << qRgb(92, 238, 17) << false;
    QTest::newRow("green two above") << qRgb(92, 240, 20) << true;
    QTest::newRow("green three above") << qRgb(92, 241, 20) << false;
    QTest::newRow("green two below") << qRgb(92, 236, 20) << true;
    QTest::newRow("green three below") << qRgb(92, 235, 20) << false;
    QTest::newRow("red two above") << qRgb(94, 238, 20) << true;
    QTest::newRow("red three above") << qRgb(95, 238, 20) << false;
    QTest::newRow("red two below") << qRgb(90, 238, 20) << true;
    QTest::newRow("red three below") << qRgb(89, 238, 20) << false;
    QTest::newRow("all three at the limit") << qRgb(94, 236, 22) << true;
    QTest::newRow("red and blue exchanged") << qRgb(20, 238, 92) << false;
    QTest::newRow("the default background setting") << qRgb(51, 252, 25) << false;
}

void BackgroundKeyingTest::toleranceIsTwoOnEveryChannel()
{
    QFETCH(QRgb, colour);
    QFETCH(bool, isKey);
    QImage image(1, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, colour);
    keyOutBackground(image);
    QCOMPARE(qAlpha(image.pixel(0, 0)), isKey ? 0 : 255);
}

void BackgroundKeyingTest::onlyAlphaBytesChange()
{
    QImage image = imageOf({"mkkm", "kmmm"});
    const QImage before = image;
    keyOutBackground(image);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            QCOMPARE(image.pixel(x, y) & 0xffffff, before.pixel(x, y) & 0xffffff);
    }
    QVERIFY(image != before);
}

void BackgroundKeyingTest::anEmptyImageIsLeftAlone()
{
    QImage image;
    keyOutBackground(image);
    QVERIFY(image.isNull());
}

OV3D_TEST_MAIN(BackgroundKeyingTest)
#include "backgroundkeying_test.moc"
