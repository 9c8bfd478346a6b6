#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/interact/gestures.h"

#include <QGraphicsSceneHoverEvent>

class DragTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void dragKindChoosesTheButton_data();
    void dragKindChoosesTheButton();
    void recordIsFilledWhole();
    void modifiersAreAlwaysZero();
    void dragForcesTheInputOperation();
    void unselectedItemSendsNothing();
    void lockDoesNotStopADrag();
    void everyMoveTakesFortyMilliseconds();
    void everyMoveIsKeptInTheHistory();
    void dragKeepsTheKindOfTheLastPress();
    void dragNeverMovesTheItem();
    void hoveringSendsNothing();
};

void DragTest::dragKindChoosesTheButton_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("button");
    QTest::newRow("left") << 1 << 1;
    QTest::newRow("right") << 2 << 4;
    QTest::newRow("any other kind is its own button") << 3 << 3;
    QTest::newRow("zero") << 0 << 0;
}

void DragTest::dragKindChoosesTheButton()
{
    QFETCH(int, kind);
    QFETCH(int, button);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_dragKind = kind;
    gestures.move(QPointF(10, 20));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_button, button);
}

void DragTest::recordIsFilledWhole()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    ViewContext& context = gestures.item->m_context;
    context.wheel_dx = 5.0f;
    context.wheel_dy = 5.0f;
    gestures.move(QPointF(10.9, -20.9));
    const ViewContext sent = fixture.viewer.lastCall().context;
    QCOMPARE(sent.mouse_type, std::int32_t{kMouseDrag});
    QCOMPARE(sent.mouse_x, 10);
    QCOMPARE(sent.mouse_y, -20);
    QCOMPARE(sent.mouse_buttons, 1);
    QCOMPARE(sent.mouse_count, 1);
    QCOMPARE(sent.wheel_dx, 0.0f);
    QCOMPARE(sent.wheel_dy, 0.0f);
    QCOMPARE(int{sent.mouse_pending}, 1);
}

void DragTest::modifiersAreAlwaysZero()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20), Qt::LeftButton, Qt::AltModifier);
    gestures.move(QPointF(11, 21), Qt::AltModifier);
    QCOMPARE(fixture.viewer.lastCall().context.mouse_modifiers, 0);
    QCOMPARE(gestures.item->m_mouseModifiers, 3);
}

void DragTest::dragForcesTheInputOperation()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_context.op = kOperationApplyViewType;
    gestures.move(QPointF(10, 20));
    QCOMPARE(fixture.viewer.lastCall().context.op, std::int32_t{kOperationInput});
}

void DragTest::unselectedItemSendsNothing()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->setSelected(false);
    gestures.item->m_context.op = 99;
    gestures.move(QPointF(10, 20));
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(gestures.item->m_context.op, 99);
}

void DragTest::lockDoesNotStopADrag()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->setLocked(true);
    // Without a model the viewer hears of it; with one, the record is written all the same.
    gestures.item->m_isLoaded = false;
    gestures.move(QPointF(10, 20));
    QCOMPARE(fixture.viewer.callCount(), 1);
    gestures.item->m_isLoaded = true;
    gestures.move(QPointF(30, 40));
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(gestures.item->m_context.mouse_x, 30);
}

void DragTest::everyMoveTakesFortyMilliseconds()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    for (int i = 0; i < 3; ++i) {
        gestures.move(QPointF(i, i));
        QVERIFY(ScriptedViewer::Clock::now() - fixture.viewer.lastCall().time >= std::chrono::milliseconds(40));
    }
}

void DragTest::everyMoveIsKeptInTheHistory()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    for (int i = 1; i <= 5; ++i)
        gestures.move(QPointF(i, i));
    QCOMPARE(gestures.item->m_viewQueue.size(), 5);
    QCOMPARE(gestures.item->m_viewQueue.last().mouse_x, 5);
}

void DragTest::dragKeepsTheKindOfTheLastPress()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20), Qt::RightButton);
    gestures.move(QPointF(11, 21));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_button, 4);
    gestures.release(QPointF(11, 21), Qt::RightButton);
    gestures.move(QPointF(12, 22));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_button, 4);
    gestures.press(QPointF(12, 22));
    gestures.move(QPointF(13, 23));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_button, 1);
}

void DragTest::dragNeverMovesTheItem()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20));
    gestures.move(QPointF(300, 300));
    gestures.release(QPointF(300, 300));
    QCOMPARE(gestures.item->pos(), QPointF(0, 0));
    QCOMPARE(gestures.item->getPos(), QPointF(0, 0));
}

void DragTest::hoveringSendsNothing()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    QVERIFY(gestures.item->acceptHoverEvents());
    QGraphicsSceneHoverEvent event(QEvent::GraphicsSceneHoverMove);
    event.setPos(QPointF(10, 20));
    gestures.item->hoverMoveEvent(&event);
    QCOMPARE(fixture.viewer.callCount(), 0);
}

OV3D_TEST_MAIN(DragTest)
#include "drag_test.moc"
