#include "src/interact/objectcommand.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/interact/gestures.h"

namespace {

QUndoStack* undoStack()
{
    return CUndoRedo::GetInstance()->stack();
}

} // namespace

class ReleaseTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void recordAlwaysNamesTheLeftButton_data();
    void recordAlwaysNamesTheLeftButton();
    void recordIsFilledWhole();
    void unselectedItemSendsNothingAndStaysPressed();
    void itemDeselectedDuringADragKeepsItsSuspendedTurntable();
    void lockedSelectedItemIsSentItsRelease();
    void lockedReleaseComparesWithTheLastPressThatGotThrough();
    void suspendedTurntableIsPutBackBeforeTheButtonUp_data();
    void suspendedTurntableIsPutBackBeforeTheButtonUp();
    void middleReleaseClicksAfterTenMilliseconds();
    void releaseTakesFortyMillisecondsBeforeItClearsTheState();
    void distanceDecidesOverTheUndoEntry_data();
    void distanceDecidesOverTheUndoEntry();
    void entryHoldsTheStatusesBeforeAndAfter();
    void redoStatusIsTakenAfterTheSimulatedClick();
    void redoStatusHoldsWhatTheViewerDidDuringTheLastSleep();
    void pushingLeavesTheViewUntouched();
};

void ReleaseTest::recordAlwaysNamesTheLeftButton_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("left") << int{Qt::LeftButton} << 0;
    QTest::newRow("right") << int{Qt::RightButton} << 0;
    QTest::newRow("middle") << int{Qt::MiddleButton} << 0;
    QTest::newRow("Alt left") << int{Qt::LeftButton} << int{Qt::AltModifier};
    QTest::newRow("Shift left") << int{Qt::LeftButton} << int{Qt::ShiftModifier};
}

void ReleaseTest::recordAlwaysNamesTheLeftButton()
{
    QFETCH(int, button);
    QFETCH(int, modifiers);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20), Qt::MouseButton(button), Qt::KeyboardModifiers(modifiers));
    gestures.release(QPointF(10, 20), Qt::MouseButton(button), Qt::KeyboardModifiers(modifiers));
    const auto ups = buttonUps(fixture.viewer);
    QVERIFY(!ups.empty());
    QCOMPARE(ups[0].context.mouse_button, 1);
    QCOMPARE(ups[0].context.mouse_modifiers, 0);
    QCOMPARE(ups[0].context.op, std::int32_t{kOperationInput});
    QCOMPARE(gestures.item->m_mouseModifiers, 0);
}

void ReleaseTest::recordIsFilledWhole()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    ViewContext& context = gestures.item->m_context;
    context.wheel_dx = 5.0f;
    context.wheel_dy = 5.0f;
    gestures.release(QPointF(10.9, -20.9));
    QCOMPARE(fixture.viewer.callCount(), 1);
    const ViewContext sent = fixture.viewer.lastCall().context;
    QCOMPARE(sent.mouse_type, std::int32_t{kMouseButtonUp});
    QCOMPARE(sent.mouse_x, 10);
    QCOMPARE(sent.mouse_y, -20);
    QCOMPARE(sent.mouse_buttons, 1);
    QCOMPARE(sent.mouse_count, 1);
    QCOMPARE(sent.wheel_dx, 0.0f);
    QCOMPARE(sent.wheel_dy, 0.0f);
    QCOMPARE(int{sent.mouse_pending}, 1);
}

void ReleaseTest::unselectedItemSendsNothingAndStaysPressed()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20), Qt::LeftButton, Qt::AltModifier);
    gestures.item->setSelected(false);
    fixture.viewer.clearCalls();
    gestures.release(QPointF(50, 60));
    QCOMPARE(fixture.viewer.callCount(), 0);
    QVERIFY(gestures.item->m_isPressed);
    QCOMPARE(gestures.item->m_mouseModifiers, 3);
    QCOMPARE(undoStack()->count(), 0);
}

void ReleaseTest::itemDeselectedDuringADragKeepsItsSuspendedTurntable()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.view_settings->view_type = 5;
    gestures.press(QPointF(10, 20), Qt::LeftButton, Qt::AltModifier);
    item->setSelected(false);
    gestures.release(QPointF(50, 60));
    QCOMPARE(item->m_context.view_settings->view_type, 0);
    QCOMPARE(item->m_viewTypeRestore, 1);
    QVERIFY(item->m_isPressed);

    item->setSelected(true);
    gestures.release(QPointF(50, 60));
    QCOMPARE(item->m_context.view_settings->view_type, 5);
    QCOMPARE(item->m_viewTypeRestore, 0);
    QVERIFY(!item->m_isPressed);
}

void ReleaseTest::lockedSelectedItemIsSentItsRelease()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->setLocked(true);
    gestures.item->m_isLoaded = false;
    gestures.release(QPointF(0, 0));
    QCOMPARE(buttonUps(fixture.viewer).size(), std::size_t{1});
    QVERIFY(!gestures.item->m_isPressed);
}

void ReleaseTest::lockedReleaseComparesWithTheLastPressThatGotThrough()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.scene_status = Gestures::status(1);
    gestures.press(QPointF(10, 20));
    gestures.release(QPointF(10, 20));
    QCOMPARE(undoStack()->count(), 0);

    item->setLocked(true);
    item->m_context.scene_status = Gestures::status(2);
    gestures.press(QPointF(300, 300));
    gestures.release(QPointF(300, 300));
    QCOMPARE(undoStack()->count(), 1);
    const auto* command = static_cast<const C3DObjectCommand*>(undoStack()->command(0));
    QCOMPARE(Gestures::markOf(command->m_undoStatus), 1.0);
    QCOMPARE(Gestures::markOf(command->m_redoStatus), 2.0);
}

void ReleaseTest::suspendedTurntableIsPutBackBeforeTheButtonUp_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("Alt left") << int{Qt::LeftButton} << int{Qt::AltModifier};
    QTest::newRow("Alt right") << int{Qt::RightButton} << int{Qt::AltModifier};
    QTest::newRow("middle") << int{Qt::MiddleButton} << 0;
}

void ReleaseTest::suspendedTurntableIsPutBackBeforeTheButtonUp()
{
    QFETCH(int, button);
    QFETCH(int, modifiers);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.view_settings->view_type = 5;
    item->m_context.lighting_settings->sun_follow = false;
    gestures.press(QPointF(10, 20), Qt::MouseButton(button), Qt::KeyboardModifiers(modifiers));
    gestures.move(QPointF(12, 22));
    QCOMPARE(fixture.viewer.lastCall().view.view_type, 0);
    fixture.viewer.clearCalls();
    gestures.release(QPointF(12, 22), Qt::MouseButton(button), Qt::KeyboardModifiers(modifiers));
    const auto calls = fixture.viewer.calls();
    QVERIFY(calls.size() >= 2);
    QCOMPARE(calls[0].context.op, std::int32_t{kOperationApplyViewType});
    QCOMPARE(calls[0].view.view_type, 5);
    // The record of the drag is still in place then.
    QCOMPARE(calls[0].context.mouse_type, std::int32_t{kMouseDrag});
    QCOMPARE(calls[1].context.op, std::int32_t{kOperationInput});
    QCOMPARE(calls[1].context.mouse_type, std::int32_t{kMouseButtonUp});
    QCOMPARE(calls[1].view.view_type, 5);
    QCOMPARE(item->m_viewTypeRestore, 0);
}

void ReleaseTest::middleReleaseClicksAfterTenMilliseconds()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_dragKind = 2;
    gestures.release(QPointF(0, 0), Qt::MiddleButton);
    const auto end = ScriptedViewer::Clock::now();
    const auto calls = fixture.viewer.calls();
    QCOMPARE(calls.size(), std::size_t{3});
    QCOMPARE(calls[0].context.mouse_type, std::int32_t{kMouseButtonUp});
    QCOMPARE(calls[1].context.mouse_type, std::int32_t{kMouseButtonDown});
    QCOMPARE(calls[1].context.mouse_x, 2);
    QCOMPARE(calls[2].context.mouse_type, std::int32_t{kMouseButtonUp});
    QCOMPARE(calls[2].context.mouse_y, 2);
    QVERIFY(calls[1].time - calls[0].time >= std::chrono::milliseconds(10));
    QVERIFY(calls[2].time - calls[1].time >= std::chrono::milliseconds(80));
    QVERIFY(end - calls[2].time >= std::chrono::milliseconds(80 + 40));
    QCOMPARE(gestures.item->m_dragKind, 1);
}

void ReleaseTest::releaseTakesFortyMillisecondsBeforeItClearsTheState()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(0, 0), Qt::LeftButton, Qt::AltModifier);
    bool wasPressed = false;
    int modifiers = 0;
    fixture.viewer.setOnCall([&](ViewContext&) {
        wasPressed = gestures.item->m_isPressed;
        modifiers = gestures.item->m_mouseModifiers;
    });
    gestures.release(QPointF(0, 0));
    const auto end = ScriptedViewer::Clock::now();
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(end - fixture.viewer.lastCall().time >= std::chrono::milliseconds(40));
    QVERIFY(wasPressed);
    QCOMPARE(modifiers, 3);
    QVERIFY(!gestures.item->m_isPressed);
    QCOMPARE(gestures.item->m_mouseModifiers, 0);
}

void ReleaseTest::distanceDecidesOverTheUndoEntry_data()
{
    QTest::addColumn<QPointF>("end");
    QTest::addColumn<int>("entries");
    QTest::newRow("same place") << QPointF(10, 20) << 0;
    QTest::newRow("exactly 1.0 along x") << QPointF(11, 20) << 0;
    QTest::newRow("exactly 1.0 along y") << QPointF(10, 19) << 0;
    QTest::newRow("just above 1.0") << QPointF(11.001, 20) << 1;
    QTest::newRow("sum of both axes exactly 1.0") << QPointF(10.5, 20.5) << 0;
    QTest::newRow("sum of both axes above 1.0, each below") << QPointF(10.5, 19.375) << 1;
    QTest::newRow("backwards") << QPointF(8, 20) << 1;
    QTest::newRow("opposite signs do not cancel out") << QPointF(11, 19) << 1;
}

void ReleaseTest::distanceDecidesOverTheUndoEntry()
{
    QFETCH(QPointF, end);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20));
    gestures.release(end);
    QCOMPARE(fixture.viewer.callCount(), 2);
    QTEST(undoStack()->count(), "entries");
}

void ReleaseTest::entryHoldsTheStatusesBeforeAndAfter()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.scene_status = Gestures::status(1);
    gestures.press(QPointF(10, 20));
    item->m_context.scene_status = Gestures::status(2);
    gestures.release(QPointF(50, 60));
    QCOMPARE(undoStack()->count(), 1);
    const auto* command = static_cast<const C3DObjectCommand*>(undoStack()->command(0));
    QCOMPARE(Gestures::markOf(command->m_undoStatus), 1.0);
    QCOMPARE(Gestures::markOf(command->m_redoStatus), 2.0);
    QCOMPARE(Gestures::markOf(item->m_undoStatus), 1.0);
    QCOMPARE(Gestures::markOf(item->m_redoStatus), 2.0);
    QCOMPARE(command->text(), QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
}

void ReleaseTest::redoStatusIsTakenAfterTheSimulatedClick()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20), Qt::MiddleButton);
    // The last call is the simulated click's button-up.
    fixture.viewer.setOnCall([](ViewContext& context) {
        context.scene_status = Gestures::status(Gestures::markOf(context.scene_status) + 1);
    });
    gestures.release(QPointF(50, 60), Qt::MiddleButton);
    fixture.viewer.setOnCall(nullptr);
    const auto* command = static_cast<const C3DObjectCommand*>(undoStack()->command(0));
    QCOMPARE(Gestures::markOf(command->m_redoStatus), 3.0);
}

void ReleaseTest::pushingLeavesTheViewUntouched()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20));
    gestures.release(QPointF(50, 60));
    QCOMPARE(fixture.viewer.callCount(), 2);
    QVERIFY(fixture.viewer.callsWithOp(kOperationRestore).empty());
    QVERIFY(static_cast<const C3DObjectCommand*>(undoStack()->command(0))->m_redoArmed);
}

void ReleaseTest::redoStatusHoldsWhatTheViewerDidDuringTheLastSleep()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20));
    QVERIFY(withLateStatus(fixture, gestures.item, 9, 1, [&] { gestures.release(QPointF(50, 60)); }));
    QCOMPARE(Gestures::markOf(gestures.item->m_redoStatus), 9.0);
}

OV3D_TEST_MAIN(ReleaseTest)
#include "release_test.moc"
