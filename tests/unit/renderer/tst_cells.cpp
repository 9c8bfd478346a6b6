#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/picture/cells.h"

using namespace ov3d;
using renderer::Cell;
using renderer::Region;
using renderer::Wanted;

namespace {

Wanted whole(int width, int height)
{
    return {{0, 0, width, height}, width, height};
}

int pixelsOf(const std::vector<Cell>& cells)
{
    int sum = 0;
    for (const Cell& cell : cells)
        sum += cell.own.width * cell.own.height;
    return sum;
}

} // namespace

class CellsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pictureOfUsualSizeIsOneCellWithoutMargin();
    void cellsCoverALargePictureOnce();
    void marginReachesBeyondTheCellButNotThePicture();
    void partTouchesTheSameCellsAsTheWhole();
    void tilesThatMakeNoSenseAreRefused_data();
    void tilesThatMakeNoSenseAreRefused();
    void requestWithoutTileIsTheWholePicture();
};

void CellsTest::pictureOfUsualSizeIsOneCellWithoutMargin()
{
    const auto cells = cellsOf(whole(1920, 1200));
    QCOMPARE(cells.size(), std::size_t{1});
    QVERIFY((cells[0].own == Region{0, 0, 1920, 1200}));
    QVERIFY((cells[0].drawn == cells[0].own));
}

void CellsTest::cellsCoverALargePictureOnce()
{
    const auto cells = cellsOf(whole(5000, 2049));
    QCOMPARE(cells.size(), std::size_t{6});
    QCOMPARE(pixelsOf(cells), 5000 * 2049);
    for (std::size_t i = 0; i < cells.size(); ++i)
        for (std::size_t j = i + 1; j < cells.size(); ++j)
            QCOMPARE(intersection(cells[i].own, cells[j].own).width, 0);
}

void CellsTest::marginReachesBeyondTheCellButNotThePicture()
{
    const auto cells = cellsOf(whole(4096, 2048));
    QCOMPARE(cells.size(), std::size_t{2});
    QVERIFY((cells[0].drawn == Region{0, 0, 2048 + renderer::kCellMargin, 2048}));
    QVERIFY((cells[1].drawn == Region{2048 - renderer::kCellMargin, 0, 2048 + renderer::kCellMargin, 2048}));
}

void CellsTest::partTouchesTheSameCellsAsTheWhole()
{
    const auto all = cellsOf(whole(5000, 5000));
    const auto some = renderer::cellsOf({{2040, 100, 16, 16}, 5000, 5000});
    QCOMPARE(some.size(), std::size_t{2});
    QVERIFY(some[0].own == all[0].own && some[0].drawn == all[0].drawn);
    QVERIFY(some[1].own == all[1].own && some[1].drawn == all[1].drawn);
}

void CellsTest::tilesThatMakeNoSenseAreRefused_data()
{
    QTest::addColumn<QVector<int>>("numbers"); // width, height, left, top, whole width, whole height
    QTest::addColumn<bool>("accepted");
    QTest::newRow("inside") << QVector<int>{100, 50, 10, 20, 400, 300} << true;
    QTest::newRow("up to the corner") << QVector<int>{100, 50, 300, 250, 400, 300} << true;
    QTest::newRow("one pixel too far right") << QVector<int>{100, 50, 301, 250, 400, 300} << false;
    QTest::newRow("one pixel too far down") << QVector<int>{100, 50, 300, 251, 400, 300} << false;
    QTest::newRow("left of the picture") << QVector<int>{100, 50, -1, 0, 400, 300} << false;
    QTest::newRow("a place without a whole picture") << QVector<int>{100, 50, 1, 0, 0, 0} << false;
    QTest::newRow("larger than the whole picture") << QVector<int>{500, 50, 0, 0, 400, 300} << false;
    QTest::newRow("no width") << QVector<int>{0, 50, 0, 0, 400, 300} << false;
    QTest::newRow("numbers whose sum overflows") << QVector<int>{INT_MAX, 50, 10, 0, INT_MAX, 300} << false;
    QTest::newRow("a whole picture beyond the limit") << QVector<int>{10, 10, 0, 0, 32769, 300} << false;
    QTest::newRow("the largest whole picture") << QVector<int>{10, 10, 32758, 0, 32768, 300} << true;
}

void CellsTest::tilesThatMakeNoSenseAreRefused()
{
    QFETCH(QVector<int>, numbers);
    QFETCH(bool, accepted);
    protocol::RenderRequest request;
    request.width = numbers[0];
    request.height = numbers[1];
    request.tile = {numbers[2], numbers[3], numbers[4], numbers[5]};
    Wanted wanted;
    QCOMPARE(wantedBy(request, wanted), accepted);
}

void CellsTest::requestWithoutTileIsTheWholePicture()
{
    protocol::RenderRequest request;
    request.width = 320;
    request.height = 240;
    Wanted wanted;
    QVERIFY(wantedBy(request, wanted));
    QVERIFY((wanted.part == Region{0, 0, 320, 240}));
    QCOMPARE(wanted.whole_width, 320);
    QCOMPARE(wanted.whole_height, 240);
}

OV3D_TEST_MAIN(CellsTest)
#include "tst_cells.moc"
