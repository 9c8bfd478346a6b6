#include "apps/board/selectionframe.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

using namespace ov3d::apps;

Q_DECLARE_METATYPE(ov3d::apps::FramePart)

namespace {

const QRectF kFrame(100, 200, 400, 300);
const FrameLimits kLimits{{64, 48}, 1e6};

} // namespace

class SelectionFrameTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pointerFindsThePartUnderIt_data();
    void pointerFindsThePartUnderIt();
    void everyHandleIsWhereThePointerFindsIt();
    void handleLeavesTheOppositeSideInPlace_data();
    void handleLeavesTheOppositeSideInPlace();
    void borderMovesTheWhole();
    void frameNeverGetsSmallerThanItsMinimum();
    void frameNeverOutgrowsItsArea();
    void raisedWidthKeepsTheFarSide();
};

void SelectionFrameTest::pointerFindsThePartUnderIt_data()
{
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<FramePart>("part");
    QTest::newRow("inside is the model's") << QPointF(300, 350) << FramePart::none;
    QTest::newRow("far outside") << QPointF(50, 350) << FramePart::none;
    QTest::newRow("on the line") << QPointF(200, 200) << FramePart::border;
    QTest::newRow("just outside of the line") << QPointF(200, 194) << FramePart::border;
    QTest::newRow("just inside of the line") << QPointF(200, 206) << FramePart::border;
    QTest::newRow("beyond reach") << QPointF(200, 192) << FramePart::none;
    QTest::newRow("upper left corner") << QPointF(103, 197) << FramePart::topLeft;
    QTest::newRow("lower right corner") << QPointF(500, 500) << FramePart::bottomRight;
    QTest::newRow("middle of the right side") << QPointF(500, 350) << FramePart::right;
    QTest::newRow("middle of the top") << QPointF(300, 200) << FramePart::top;
}

void SelectionFrameTest::pointerFindsThePartUnderIt()
{
    QFETCH(QPointF, point);
    QFETCH(FramePart, part);
    QCOMPARE(framePartAt(kFrame, point, 7), part);
}

void SelectionFrameTest::everyHandleIsWhereThePointerFindsIt()
{
    const auto rects = handleRects(kFrame, 9);
    QCOMPARE(rects.size(), 8);
    for (const QRectF& rect : rects) {
        const FramePart part = framePartAt(kFrame, rect.center(), 7);
        QVERIFY(part != FramePart::none && part != FramePart::border);
    }
}

void SelectionFrameTest::handleLeavesTheOppositeSideInPlace_data()
{
    QTest::addColumn<FramePart>("part");
    QTest::addColumn<QRectF>("expected");
    QTest::newRow("left") << FramePart::left << QRectF(110, 200, 390, 300);
    QTest::newRow("right") << FramePart::right << QRectF(100, 200, 410, 300);
    QTest::newRow("top") << FramePart::top << QRectF(100, 220, 400, 280);
    QTest::newRow("bottom") << FramePart::bottom << QRectF(100, 200, 400, 320);
    QTest::newRow("upper left") << FramePart::topLeft << QRectF(110, 220, 390, 280);
    QTest::newRow("upper right") << FramePart::topRight << QRectF(100, 220, 410, 280);
    QTest::newRow("lower left") << FramePart::bottomLeft << QRectF(110, 200, 390, 320);
    QTest::newRow("lower right") << FramePart::bottomRight << QRectF(100, 200, 410, 320);
    QTest::newRow("nothing") << FramePart::none << kFrame;
}

void SelectionFrameTest::handleLeavesTheOppositeSideInPlace()
{
    QFETCH(FramePart, part);
    QFETCH(QRectF, expected);
    QCOMPARE(draggedFrame(kFrame, part, QPointF(10, 20), kLimits), expected);
}

void SelectionFrameTest::borderMovesTheWhole()
{
    QCOMPARE(draggedFrame(kFrame, FramePart::border, QPointF(-150, 20), kLimits), QRectF(-50, 220, 400, 300));
}

void SelectionFrameTest::frameNeverGetsSmallerThanItsMinimum()
{
    const QRectF frame = draggedFrame(kFrame, FramePart::topLeft, QPointF(1000, 1000), kLimits);
    QCOMPARE(frame.size(), QSizeF(64, 48));
    QCOMPARE(frame.bottomRight(), kFrame.bottomRight());
}

void SelectionFrameTest::frameNeverOutgrowsItsArea()
{
    const FrameLimits limits{{64, 48}, 2 * kFrame.width() * kFrame.height()};
    const QRectF wide = draggedFrame(kFrame, FramePart::left, QPointF(-10000, 0), limits);
    QCOMPARE(wide, QRectF(kFrame.right() - 800, 200, 800, 300));
    const QRectF large = draggedFrame(kFrame, FramePart::bottomRight, QPointF(5000, 5000), limits);
    QVERIFY(large.width() * large.height() <= limits.largestArea * 1.0001);
    QCOMPARE(large.topLeft(), kFrame.topLeft());
}

void SelectionFrameTest::raisedWidthKeepsTheFarSide()
{
    QCOMPARE(anchoredFrame(QRectF(101, 200, 399, 300), FramePart::left, QSizeF(400, 300)), QRectF(100, 200, 400, 300));
    QCOMPARE(anchoredFrame(QRectF(100, 200, 399, 300), FramePart::right, QSizeF(400, 300)), QRectF(100, 200, 400, 300));
}

OV3D_TEST_MAIN(SelectionFrameTest)
#include "selectionframe_test.moc"
