#include "src/interact/objectcommand.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/interact/gestures.h"

namespace {

QUndoStack* undoStack()
{
    return CUndoRedo::GetInstance()->stack();
}

} // namespace

class WheelTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void stepFollowsTheSignOfTheDelta_data();
    void stepFollowsTheSignOfTheDelta();
    void recordIsFilledWhole();
    void onlyShiftAloneIsSent_data();
    void onlyShiftAloneIsSent();
    void shiftOverATurntableAppliesTheViewTypeAndLeavesIt();
    void shiftAtAnotherViewTypeIsPlainInput();
    void suspensionOfAnEarlierPressIsEnded();
    void unselectedOrLockedItemSwallowsTheEventAndSendsNothing_data();
    void unselectedOrLockedItemSwallowsTheEventAndSendsNothing();
    void eventIsAcceptedAndNoticed();
    void countIsPrintedBeforeItIsIncremented();
    void beforeStatusIsTakenFirstAndAfterStatusFortyMillisecondsLater();
    void afterStatusHoldsWhatTheViewerDidDuringTheSleep();
    void viewTypeIsPutBackBeforeTheSleep();
    void twoNotchesAreTwoEntries();
    void undoAndRedoBothRestoreThroughTheSameWay();
    void notchDoesNotPressTheItem();
};

void WheelTest::stepFollowsTheSignOfTheDelta_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<float>("step");
    QTest::newRow("one notch forward") << 120 << 2.0f;
    QTest::newRow("one notch backward") << -120 << -2.0f;
    QTest::newRow("no turn counts as backward") << 0 << -2.0f;
    QTest::newRow("fine wheel forward") << 1 << 2.0f;
    QTest::newRow("many notches at once are one step") << 12000 << 2.0f;
}

void WheelTest::stepFollowsTheSignOfTheDelta()
{
    QFETCH(int, delta);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.wheel(QPointF(10, 20), delta);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QTEST(fixture.viewer.lastCall().context.wheel_dy, "step");
}

void WheelTest::recordIsFilledWhole()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    ViewContext& context = gestures.item->m_context;
    context.mouse_buttons = context.mouse_button = context.mouse_count = 9;
    context.mouse_pending = 9;
    context.wheel_dx = 9.0f;
    gestures.wheel(QPointF(10.9, -20.9), 120);
    const ViewContext sent = fixture.viewer.lastCall().context;
    QCOMPARE(sent.op, std::int32_t{kOperationInput});
    QCOMPARE(sent.mouse_type, std::int32_t{kMouseWheel});
    QCOMPARE(sent.mouse_x, 10);
    QCOMPARE(sent.mouse_y, -20);
    QCOMPARE(sent.mouse_buttons, 0);
    QCOMPARE(sent.mouse_button, 0);
    QCOMPARE(sent.mouse_count, 0);
    QCOMPARE(sent.wheel_dx, 0.0f);
    QCOMPARE(int{sent.mouse_pending}, 0);
}

void WheelTest::onlyShiftAloneIsSent_data()
{
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<int>("code");
    QTest::newRow("none") << 0 << 0;
    QTest::newRow("Shift") << int{Qt::ShiftModifier} << 1;
    QTest::newRow("Alt") << int{Qt::AltModifier} << 0;
    QTest::newRow("Ctrl") << int{Qt::ControlModifier} << 0;
    QTest::newRow("Shift and Alt") << int{Qt::ShiftModifier | Qt::AltModifier} << 0;
    QTest::newRow("Shift and Ctrl") << int{Qt::ShiftModifier | Qt::ControlModifier} << 0;
}

void WheelTest::onlyShiftAloneIsSent()
{
    QFETCH(int, modifiers);
    QFETCH(int, code);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_mouseModifiers = 77;
    gestures.wheel(QPointF(10, 20), 120, Qt::KeyboardModifiers(modifiers));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_modifiers, code);
    QCOMPARE(gestures.item->m_mouseModifiers, code);
}

void WheelTest::shiftOverATurntableAppliesTheViewTypeAndLeavesIt()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.view_settings->view_type = 5;
    int restore = 0;
    fixture.viewer.setOnCall([&](ViewContext&) { restore = item->m_viewTypeRestore; });
    gestures.wheel(QPointF(10, 20), 120, Qt::ShiftModifier);
    fixture.viewer.setOnCall(nullptr);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(fixture.viewer.lastCall().context.op, std::int32_t{kOperationApplyViewType});
    QCOMPARE(fixture.viewer.lastCall().view.view_type, 5);
    QCOMPARE(restore, 1);
    QCOMPARE(item->m_savedViewType, 5);
    QCOMPARE(item->m_viewTypeRestore, 0);
    QCOMPARE(item->m_context.view_settings->view_type, 5);
}

void WheelTest::shiftAtAnotherViewTypeIsPlainInput()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_context.view_settings->view_type = 4;
    gestures.wheel(QPointF(10, 20), 120, Qt::ShiftModifier);
    QCOMPARE(fixture.viewer.lastCall().context.op, std::int32_t{kOperationInput});
    // Without Shift a turntable is not touched either.
    gestures.item->m_context.view_settings->view_type = 5;
    gestures.wheel(QPointF(10, 20), 120);
    QCOMPARE(fixture.viewer.lastCall().context.op, std::int32_t{kOperationInput});
    QCOMPARE(gestures.item->m_viewTypeRestore, 0);
}

void WheelTest::suspensionOfAnEarlierPressIsEnded()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_viewTypeRestore = 1;
    item->m_savedViewType = 5;
    gestures.wheel(QPointF(10, 20), 120);
    QCOMPARE(fixture.viewer.lastCall().view.view_type, 0);
    QCOMPARE(item->m_context.view_settings->view_type, 5);
    QCOMPARE(item->m_viewTypeRestore, 0);
}

void WheelTest::unselectedOrLockedItemSwallowsTheEventAndSendsNothing_data()
{
    QTest::addColumn<bool>("selected");
    QTest::addColumn<bool>("locked");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("not selected") << false << false << true;
    QTest::newRow("locked") << true << true << true;
    QTest::newRow("not selected and locked") << false << true << true;
    QTest::newRow("an ignored event is not accepted either") << false << false << false;
}

void WheelTest::unselectedOrLockedItemSwallowsTheEventAndSendsNothing()
{
    QFETCH(bool, selected);
    QFETCH(bool, locked);
    QFETCH(bool, accepted);
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_isLoaded = false;
    item->setSelected(selected);
    item->setLocked(locked);
    item->m_context.op = 99;
    item->m_undoStatus = Gestures::status(3);
    const NoticeRecorder recorder;
    QCOMPARE(gestures.wheel(QPointF(10, 20), 120, Qt::NoModifier, accepted), accepted);
    ItemFixture::deliverPosted();
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_context.op, 99);
    QCOMPARE(Gestures::markOf(item->m_undoStatus), 3.0);
    QCOMPARE(whell_call, 0);
    QCOMPARE(undoStack()->count(), 0);
    QVERIFY(recorder.notices.isEmpty());
    QVERIFY(messages().isEmpty());
}

void WheelTest::eventIsAcceptedAndNoticed()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    const NoticeRecorder recorder;
    QVERIFY(gestures.wheel(QPointF(10, 20), 120, Qt::NoModifier, false));
    ItemFixture::deliverPosted();
    QCOMPARE(recorder.notices.size(), 1);
    QCOMPARE(recorder.notices.first().code, 1002);
    QVERIFY(recorder.notices.first().text.isEmpty());
}

void WheelTest::countIsPrintedBeforeItIsIncremented()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    whell_call = 41;
    gestures.wheel(QPointF(10, 20), 120);
    gestures.wheel(QPointF(10, 20), 120);
    QCOMPARE(messages(), (QStringList{"[whell_call call] 41", "[whell_call call] 42"}));
    QCOMPARE(whell_call, 43);
}

void WheelTest::beforeStatusIsTakenFirstAndAfterStatusFortyMillisecondsLater()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.scene_status = Gestures::status(1);
    fixture.viewer.setOnCall([](ViewContext& context) { context.scene_status = Gestures::status(2); });
    gestures.wheel(QPointF(10, 20), 120);
    const auto end = ScriptedViewer::Clock::now();
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(end - fixture.viewer.lastCall().time >= std::chrono::milliseconds(40));
    QCOMPARE(undoStack()->count(), 1);
    const auto* command = static_cast<const C3DObjectCommand*>(undoStack()->command(0));
    QCOMPARE(Gestures::markOf(command->m_undoStatus), 1.0);
    QCOMPARE(Gestures::markOf(command->m_redoStatus), 2.0);
    QCOMPARE(command->text(), QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
}

void WheelTest::viewTypeIsPutBackBeforeTheSleep()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.view_settings->view_type = 5;
    // A viewer that clears the view type while it serves the notch finds it set again.
    fixture.viewer.setOnCall([](ViewContext& context) { context.view_settings->view_type = 0; });
    gestures.wheel(QPointF(10, 20), 120, Qt::ShiftModifier);
    fixture.viewer.setOnCall(nullptr);
    QCOMPARE(item->m_context.view_settings->view_type, 5);
}

void WheelTest::twoNotchesAreTwoEntries()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    fixture.viewer.setOnCall([](ViewContext& context) {
        context.scene_status = Gestures::status(Gestures::markOf(context.scene_status) + 1);
    });
    gestures.wheel(QPointF(10, 20), 120);
    gestures.wheel(QPointF(10, 20), 120);
    fixture.viewer.setOnCall(nullptr);
    QCOMPARE(undoStack()->count(), 2);
    const auto* second = static_cast<const C3DObjectCommand*>(undoStack()->command(1));
    QCOMPARE(Gestures::markOf(second->m_undoStatus), 1.0);
    QCOMPARE(Gestures::markOf(second->m_redoStatus), 2.0);
}

void WheelTest::undoAndRedoBothRestoreThroughTheSameWay()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.scene_status = Gestures::status(1);
    fixture.viewer.setOnCall([](ViewContext& context) {
        if (context.op == kOperationInput)
            context.scene_status = Gestures::status(2);
    });
    gestures.wheel(QPointF(10, 20), 120);
    fixture.viewer.clearCalls();

    for (const double mark : {1.0, 2.0}) {
        item->m_context.view_settings->reset_camera = true;
        item->m_context.material_settings->material_update = false;
        if (mark == 1.0)
            undoStack()->undo();
        else
            undoStack()->redo();
        const ScriptedViewer::Call call = fixture.viewer.lastCall();
        QCOMPARE(call.context.op, std::int32_t{kOperationRestore});
        QCOMPARE(Gestures::markOf(call.context.scene_status), mark);
        QVERIFY(!call.view.reset_camera);
        QVERIFY(call.material.material_update);
    }
    QCOMPARE(fixture.viewer.callCount(), 2);
    fixture.viewer.setOnCall(nullptr);
}

void WheelTest::notchDoesNotPressTheItem()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_dragKind = 2;
    gestures.wheel(QPointF(10, 20), 120);
    QVERIFY(!gestures.item->m_isPressed);
    QCOMPARE(gestures.item->m_dragKind, 2);
    QCOMPARE(gestures.item->m_pressPos, QPointF());
}

void WheelTest::afterStatusHoldsWhatTheViewerDidDuringTheSleep()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_context.scene_status = Gestures::status(1);
    QVERIFY(withLateStatus(fixture, gestures.item, 9, 1, [&] { gestures.wheel(QPointF(10, 20), 120); }));
    QCOMPARE(Gestures::markOf(gestures.item->m_redoStatus), 9.0);
}

OV3D_TEST_MAIN(WheelTest)
#include "wheel_test.moc"
