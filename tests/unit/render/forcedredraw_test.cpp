#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/mutexprobe.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

#include <chrono>
#include <utility>

/// Calls that the plug-in makes of its own accord: forced redraws, the fake click, and calls past the gate.
class ForcedRedrawTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void forcedRedrawTurnsResetOffAndMaterialUpdateOn();
    void forcedRedrawNeverRecordsAReset();
    void forcedRedrawBeforeTheLiveBlocksExistChangesNoSettings();
    void fakeClickSendsDownAndUpAtTwoTwo();
    void fakeClickTakesAtLeast160Milliseconds();
    void fakeClickMakesTheDragALeftOne();
    void directCallHasNeitherLockNorHistoryNorGate();
    void directCallNeedsAThreadAndAFunction();
};

void ForcedRedrawTest::init()
{
    SingleItemTestBase::init();
    ItemFixture::makeReady(m_item);
}

void ForcedRedrawTest::forcedRedrawTurnsResetOffAndMaterialUpdateOn()
{
    m_item->m_context.view_settings->reset_camera = true;
    m_item->m_context.material_settings->material_update = false;
    m_item->forcedraw();
    const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
    QCOMPARE(call.context.op, std::int32_t{kOperationRedraw});
    QVERIFY(!call.view.reset_camera);
    QVERIFY(call.material.material_update);
    QVERIFY(!m_item->m_materialSettings.material_update);
}

void ForcedRedrawTest::forcedRedrawNeverRecordsAReset()
{
    m_item->m_context.view_settings->reset_camera = true;
    m_item->forcedraw();
    QCOMPARE(m_item->m_viewQueue.size(), 0);
}

void ForcedRedrawTest::forcedRedrawBeforeTheLiveBlocksExistChangesNoSettings()
{
    COv3DObject* fresh = m_fixture->createItem();
    fresh->m_viewSettings.reset_camera = true;
    fresh->forcedraw();
    QCOMPARE(fresh->m_context.op, std::int32_t{kOperationRedraw});
    QVERIFY(fresh->m_viewSettings.reset_camera);
    QVERIFY(!fresh->m_materialSettings.material_update);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
}

void ForcedRedrawTest::fakeClickSendsDownAndUpAtTwoTwo()
{
    m_item->m_context.wheel_dx = 3.0f;
    m_item->m_context.wheel_dy = 3.0f;
    m_item->m_context.mouse_modifiers = 4;
    m_item->fakeMouseEvent();
    const auto calls = m_fixture->viewer.calls();
    QCOMPARE(calls.size(), std::size_t{2});
    QCOMPARE(calls[0].context.mouse_type, std::int32_t{kMouseButtonDown});
    QCOMPARE(calls[1].context.mouse_type, std::int32_t{kMouseButtonUp});
    for (const auto& call : calls) {
        QCOMPARE(call.context.op, std::int32_t{kOperationInput});
        QCOMPARE(call.context.mouse_x, 2);
        QCOMPARE(call.context.mouse_y, 2);
        QCOMPARE(call.context.mouse_modifiers, 0);
        QCOMPARE(call.context.mouse_buttons, 1);
        QCOMPARE(call.context.mouse_button, 1);
        QCOMPARE(call.context.mouse_count, 1);
        QCOMPARE(call.context.wheel_dx, 0.0f);
        QCOMPARE(call.context.wheel_dy, 0.0f);
        QCOMPARE(int{call.context.mouse_pending}, 1);
    }
}

void ForcedRedrawTest::fakeClickTakesAtLeast160Milliseconds()
{
    const auto begin = ScriptedViewer::Clock::now();
    m_item->fakeMouseEvent();
    const auto end = ScriptedViewer::Clock::now();
    const auto calls = m_fixture->viewer.calls();
    QVERIFY(end - begin >= std::chrono::milliseconds(160));
    QVERIFY(calls[1].time - calls[0].time >= std::chrono::milliseconds(80));
    QVERIFY(end - calls[1].time >= std::chrono::milliseconds(80));
}

void ForcedRedrawTest::fakeClickMakesTheDragALeftOne()
{
    m_item->m_dragKind = 2;
    int kindAtDown = 0;
    int kindAtUp = 0;
    m_fixture->viewer.setOnCall([&](ViewContext& context) {
        (context.mouse_type == kMouseButtonDown ? kindAtDown : kindAtUp) = m_item->m_dragKind;
    });
    m_item->fakeMouseEvent();
    m_fixture->viewer.setOnCall(nullptr);
    QCOMPARE(kindAtDown, 2);
    QCOMPARE(kindAtUp, 1);
}

void ForcedRedrawTest::directCallHasNeitherLockNorHistoryNorGate()
{
    m_item->m_viewerReady = 0;
    m_item->setLocked(true);
    m_item->m_context.op = kOperationInput;
    m_item->m_context.is_history = 1;
    bool wasFree = false;
    m_fixture->viewer.setOnCall([&](ViewContext&) { wasFree = isFree(m_item->m_viewMutex); });
    m_item->re_render_view(&m_item->m_context);
    m_fixture->viewer.setOnCall(nullptr);
    QCOMPARE(m_fixture->viewer.callCount(), 1);
    QCOMPARE(m_fixture->viewer.lastCall().argc, 0);
    QVERIFY(!m_fixture->viewer.lastCall().hasArgv);
    QVERIFY(wasFree);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
    QCOMPARE(int{m_item->m_context.is_history}, 1);
}

void ForcedRedrawTest::directCallNeedsAThreadAndAFunction()
{
    COv3DObject* fresh = m_fixture->createItem();
    CDrawByOpenGL* thread = std::exchange(fresh->m_drawThread, nullptr);
    fresh->re_render_view(&fresh->m_context);
    fresh->m_drawThread = thread;
    QCOMPARE(m_fixture->viewer.callCount(), 0);

    SetRunHandle(nullptr);
    fresh->re_render_view(&fresh->m_context);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
}

OV3D_TEST_MAIN(ForcedRedrawTest)
#include "forcedredraw_test.moc"
