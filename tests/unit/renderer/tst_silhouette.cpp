#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/picture/silhouette.h"

#include <QRandomGenerator>
#include <cstdlib>

using namespace ov3d::renderer;

namespace {

/// Which pixels show the model: a row of '#' and '.' for each row, from top to bottom.
using Mask = QStringList;

/// A picture with `rowBytes` a row.
struct Picture
{
    int width = 0;
    int height = 0;
    std::size_t rowBytes = 0;
    std::vector<std::uint8_t> rgb;

    [[nodiscard]] Rgb at(int x, int y) const
    {
        const std::uint8_t* p = rgb.data() + static_cast<std::size_t>(y) * rowBytes + static_cast<std::size_t>(x) * 3;
        return {p[0], p[1], p[2]};
    }
};

/// Samples with a colour of their own, stored as OpenGL has them.
struct Drawing
{
    Drawing(int pixelsWide, int pixelsHigh, int samplesPerSide)
        : width(pixelsWide)
        , height(pixelsHigh)
        , factor(samplesPerSide)
        , rgba(static_cast<std::size_t>(width * height * factor * factor) * 4, 0)
    {
    }

    /// Sample coordinates, y from the top.
    void set(int x, int y, Rgb colour, std::uint8_t alpha = 255)
    {
        const int row = height * factor - 1 - y;
        std::uint8_t* p = rgba.data() + static_cast<std::size_t>(row * width * factor + x) * 4;
        std::copy(colour.begin(), colour.end(), p);
        p[3] = alpha;
    }

    void fillPixel(int x, int y, Rgb colour, std::uint8_t alpha = 255)
    {
        for (int dy = 0; dy < factor; ++dy)
            for (int dx = 0; dx < factor; ++dx)
                set(x * factor + dx, y * factor + dy, colour, alpha);
    }

    [[nodiscard]] Samples samples() const { return {rgba.data(), width, height, factor}; }

    [[nodiscard]] Picture picture(bool keyed = true) const
    {
        Picture result{width, height, (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4, {}};
        result.rgb.assign(result.rowBytes * static_cast<std::size_t>(height), 0xAB);
        if (keyed)
            writeKeyedPicture(samples(), result.rgb.data(), result.rowBytes);
        else
            writeOpaquePicture(samples(), result.rgb.data(), result.rowBytes);
        return result;
    }

    int width;
    int height;
    int factor;
    std::vector<std::uint8_t> rgba;
};

constexpr Rgb kModel{200, 40, 90};
constexpr Rgb kGrey{128, 128, 128};

bool isKey(Rgb c)
{
    return std::abs(c[0] - 92) <= 2 && std::abs(c[1] - 238) <= 2 && std::abs(c[2] - 20) <= 2;
}

/// What a host makes of a picture: key pixels and one pixel beside each run of them become transparent. The two flags
/// live on from row to row.
Mask keyed(const Picture& picture)
{
    bool previousKeyed = false;
    bool pending = false;
    Mask mask;
    for (int y = 0; y < picture.height; ++y) {
        QString row(picture.width, '#');
        for (int x = 0; x < picture.width; ++x) {
            if (isKey(picture.at(x, y))) {
                row[x] = '.';
                if (pending && x > 0)
                    row[x - 1] = '.';
                previousKeyed = true;
                pending = false;
            } else if (previousKeyed) {
                row[x] = '.';
                previousKeyed = pending = false;
            } else
                pending = true;
        }
        mask.append(row);
    }
    return mask;
}

Drawing drawn(const Mask& mask, int factor)
{
    Drawing drawing(static_cast<int>(mask.first().size()), static_cast<int>(mask.size()), factor);
    for (int y = 0; y < drawing.height; ++y)
        for (int x = 0; x < drawing.width; ++x)
            drawing.fillPixel(x, y, mask[y][x] == '#' ? kModel : kGrey, mask[y][x] == '#' ? 255 : 0);
    return drawing;
}

} // namespace

class SilhouetteTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pixelsWithoutModelAreExactlyTheKey();
    void keyingGivesBackTheCoverageMask_data();
    void keyingGivesBackTheCoverageMask();
    void keyingGivesBackRandomMasks();
    void narrowGapsClose();
    void runsAreWidenedWithTheColourOfTheirEnds();
    void halfOfTheSamplesDecide();
    void edgeColourComesFromCoveredSamplesAlone();
    void faintlyCoveredSamplesCount();
    void modelPixelsAvoidTheKey();
    void colourBesideTheToleranceStays();
    void opaquePictureAveragesAllSamplesAndAvoidsTheKey();
    void rowsRunFromTopToBottomWithZeroedPadding();
};

void SilhouetteTest::pixelsWithoutModelAreExactlyTheKey()
{
    const Picture picture = Drawing(7, 3, 2).picture();
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 7; ++x)
            QVERIFY(picture.at(x, y) == kKeyColour);
}

void SilhouetteTest::keyingGivesBackTheCoverageMask_data()
{
    QTest::addColumn<Mask>("mask");
    QTest::newRow("one pixel") << Mask{"..........", "....#.....", ".........."};
    QTest::newRow("a line of one pixel") << Mask{"....#.....", "....#.....", "....#....."};
    QTest::newRow("two parts with a gap of three") << Mask{"..##...##..", "..##...##..", "..........."};
    QTest::newRow("a slope") << Mask{"..#########..", "...#######...", "....#####....", ".....###.....",
                                     "......#......"};
    QTest::newRow("a hole") << Mask{"..#########..", "..###...###..", "..#########.."};
    QTest::newRow("the last row") << Mask{"..........", "..######.."};
}

void SilhouetteTest::keyingGivesBackTheCoverageMask()
{
    QFETCH(Mask, mask);
    for (const int factor : {1, 2})
        QCOMPARE(keyed(drawn(mask, factor).picture()), mask);
}

void SilhouetteTest::keyingGivesBackRandomMasks()
{
    QRandomGenerator random(20260711);
    for (int round = 0; round < 200; ++round) {
        Mask mask;
        for (int y = 0; y < 12; ++y) {
            // Border columns stay free, gaps are three pixels or more: what is outside of that changes by design.
            QString row = "..";
            while (row.size() < 40)
                row += QString(random.bounded(1, 6), '#') + QString(random.bounded(3, 9), '.');
            mask.append(row.left(36) + "....");
        }
        QCOMPARE(keyed(drawn(mask, 1 + round % 2).picture()), mask);
    }
}

void SilhouetteTest::narrowGapsClose()
{
    QCOMPARE(keyed(drawn({"..##.##..##.."}, 2).picture()), Mask{"..#########.."});
}

void SilhouetteTest::runsAreWidenedWithTheColourOfTheirEnds()
{
    Drawing drawing(8, 1, 2);
    drawing.fillPixel(3, 0, {10, 20, 30});
    drawing.fillPixel(4, 0, {40, 50, 60});
    const Picture picture = drawing.picture();
    QVERIFY(picture.at(1, 0) == kKeyColour);
    QVERIFY((picture.at(2, 0) == Rgb{10, 20, 30}));
    QVERIFY((picture.at(3, 0) == Rgb{10, 20, 30}));
    QVERIFY((picture.at(5, 0) == Rgb{40, 50, 60}));
    QVERIFY(picture.at(6, 0) == kKeyColour);
}

void SilhouetteTest::halfOfTheSamplesDecide()
{
    Drawing drawing(12, 1, 2);
    drawing.set(2 * 2, 0, kModel);
    drawing.set(2 * 2 + 1, 1, kModel);
    drawing.set(7 * 2, 0, kModel);
    QCOMPARE(keyed(drawing.picture()), Mask{"..#........."});
}

void SilhouetteTest::edgeColourComesFromCoveredSamplesAlone()
{
    Drawing drawing(5, 1, 2);
    for (int x = 0; x < 5; ++x)
        drawing.fillPixel(x, 0, kGrey, 0);
    drawing.set(4, 0, {100, 0, 0});
    drawing.set(5, 0, {200, 0, 0});
    QVERIFY((drawing.picture().at(2, 0) == Rgb{150, 0, 0}));
}

void SilhouetteTest::faintlyCoveredSamplesCount()
{
    Drawing drawing(5, 1, 2);
    drawing.fillPixel(2, 0, {130, 126, 126}, 1);
    QCOMPARE(keyed(drawing.picture()), Mask{"..#.."});
    QVERIFY((drawing.picture().at(2, 0) == Rgb{130, 126, 126}));
}

void SilhouetteTest::modelPixelsAvoidTheKey()
{
    for (int red = 89; red <= 95; ++red)
        for (int green = 235; green <= 241; ++green)
            for (int blue = 17; blue <= 23; ++blue) {
                const Rgb colour{static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                                 static_cast<std::uint8_t>(blue)};
                Drawing drawing(5, 1, 1);
                drawing.fillPixel(2, 0, colour);
                const Rgb shown = drawing.picture().at(2, 0);
                QVERIFY(!isKey(shown));
                QVERIFY(shown[0] == red && shown[2] == blue && std::abs(shown[1] - green) <= 3);
            }
}

void SilhouetteTest::colourBesideTheToleranceStays()
{
    QVERIFY((avoidKey({92, 238, 23}) == Rgb{92, 238, 23}));
    QVERIFY((avoidKey({95, 238, 20}) == Rgb{95, 238, 20}));
    QVERIFY((avoidKey({92, 235, 20}) == Rgb{92, 235, 20}));
}

void SilhouetteTest::opaquePictureAveragesAllSamplesAndAvoidsTheKey()
{
    Drawing drawing(2, 1, 2);
    drawing.fillPixel(0, 0, {255, 255, 255}, 0);
    drawing.set(0, 0, {0, 0, 0});
    drawing.set(1, 0, {0, 0, 0});
    drawing.fillPixel(1, 0, kKeyColour, 0);
    const Picture picture = drawing.picture(false);
    QVERIFY((picture.at(0, 0) == Rgb{128, 128, 128}));
    QVERIFY(!isKey(picture.at(1, 0)));
}

void SilhouetteTest::rowsRunFromTopToBottomWithZeroedPadding()
{
    Drawing drawing(3, 2, 1);
    for (int x = 0; x < 3; ++x)
        drawing.fillPixel(x, 0, kModel);
    const Picture picture = drawing.picture();
    QCOMPARE(picture.rowBytes, std::size_t{12});
    QVERIFY(picture.at(1, 0) == kModel);
    QVERIFY(picture.at(1, 1) == kKeyColour);
    for (const std::size_t at : {9U, 10U, 11U, 21U, 22U, 23U})
        QCOMPARE(int{picture.rgb[at]}, 0);
}

OV3D_TEST_MAIN(SilhouetteTest)
#include "tst_silhouette.moc"
