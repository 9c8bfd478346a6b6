#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QElapsedTimer>

#include <cstring>
#include <thread>

namespace {

QByteArray listBegin(const ViewContext& context, int count)
{
    return QByteArray(context.file_list, count);
}

} // namespace

class UpdateQueueTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void nothingHappensBeforeTheViewerIsReady();
    void lockedLoadedItemIgnoresUpdates();
    void lockedItemWithoutModelPassesUpdates();
    void viewerIsCalledOnTheCallersThreadWithTheItemsOwnContext();
    void historyMarkIsClearedBeforeTheCall();
    void withoutViewerFunctionHistoryIsStillKept();
    void withoutRenderThreadNothingIsCalledOrKept();
    void viewMutexIsHeldDuringTheCallAndFreeAfterIt();

    void inputAfterTheFirstFrameIsRecorded();
    void inputBeforeTheFirstFrameIsNotRecorded();
    void otherOperationsAreNotRecorded_data();
    void otherOperationsAreNotRecorded();
    void changedViewTypeRecordsItsNegativeOnce();
    void viewTypeGoingBackToZeroRecordsMarkerZero();
    void resetRecordsTheFiveCharactersInEveryCall();
    void changedViewTypeWithResetIsOneEntryWithBoth();
    void resetIsReadBeforeTheViewerRuns();
    void operationAndViewTypeAreReadAfterTheViewerRan();
    void stopRecordsNothingWithoutReset();
    void stopWithResetRecordsAnEntryWithMarkerZero();
    void stopNeverTakesOverTheViewType();
    void entryIsAWholeIndependentCopyMarkedAsHistory();
    void historyIsNeverTrimmed();

    void forcedRedrawTurnsResetOffAndMaterialUpdateOn();
    void forcedRedrawNeverRecordsAReset();
    void forcedRedrawBeforeTheLiveBlocksExistChangesNoSettings();
    void fakeClickSendsDownAndUpAtTwoTwo();
    void fakeClickTakesAtLeast160Milliseconds();
    void fakeClickMakesTheDragALeftOne();
    void directCallHasNeitherLockNorHistoryNorGate();
    void directCallNeedsAThreadAndAFunction();
};

void UpdateQueueTest::nothingHappensBeforeTheViewerIsReady()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_viewerReady = 0;
    item->m_context.op = kOperationInput;
    item->m_context.is_history = 7;
    item->m_context.view_settings->reset_camera = true;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_viewQueue.size(), 0);
    QCOMPARE(int{item->m_context.is_history}, 7);
}

void UpdateQueueTest::lockedLoadedItemIgnoresUpdates()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->setLocked(true);
    item->m_context.op = kOperationInput;
    item->m_context.view_settings->view_type = 5;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_viewQueue.size(), 0);
    QCOMPARE(item->m_lastViewType, 0);
}

void UpdateQueueTest::lockedItemWithoutModelPassesUpdates()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_isLoaded = false;
    item->setLocked(true);
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(item->m_viewQueue.size(), 1);
}

void UpdateQueueTest::viewerIsCalledOnTheCallersThreadWithTheItemsOwnContext()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->update_view(&item->m_context);
    const ScriptedViewer::Call call = fixture.viewer.lastCall();
    QCOMPARE(call.argc, 0);
    QVERIFY(!call.hasArgv);
    QCOMPARE(call.contextAddress, static_cast<void*>(&item->m_context));
    QCOMPARE(call.thread, reinterpret_cast<quintptr>(QThread::currentThreadId()));

    quintptr other = 0;
    std::thread([&] {
        other = reinterpret_cast<quintptr>(QThread::currentThreadId());
        item->update_view(&item->m_context);
    }).join();
    QCOMPARE(fixture.viewer.lastCall().thread, other);
}

void UpdateQueueTest::historyMarkIsClearedBeforeTheCall()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.is_history = 1;
    item->update_view(&item->m_context);
    QCOMPARE(int{fixture.viewer.lastCall().context.is_history}, 0);
    QCOMPARE(int{item->m_context.is_history}, 0);
}

void UpdateQueueTest::withoutViewerFunctionHistoryIsStillKept()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    SetRunHandle(nullptr);
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_viewQueue.size(), 1);
}

void UpdateQueueTest::withoutRenderThreadNothingIsCalledOrKept()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    CDrawByOpenGL* thread = std::exchange(item->m_drawThread, nullptr);
    item->m_context.is_history = 1;
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    const bool isFree = item->m_viewMutex.tryLock();
    if (isFree)
        item->m_viewMutex.unlock();
    const int mark = item->m_context.is_history;
    item->m_drawThread = thread;
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_viewQueue.size(), 0);
    QCOMPARE(mark, 1);
    QVERIFY(isFree);
}

void UpdateQueueTest::viewMutexIsHeldDuringTheCallAndFreeAfterIt()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    bool wasFree = true;
    fixture.viewer.setOnCall([&](ViewContext&) { std::thread([&] { wasFree = item->m_viewMutex.tryLock(); }).join(); });
    item->update_view(&item->m_context);
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(!wasFree);
    QVERIFY(item->m_viewMutex.tryLock());
    item->m_viewMutex.unlock();
}

void UpdateQueueTest::inputAfterTheFirstFrameIsRecorded()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = kOperationInput;
    item->m_context.frame_height = 960;
    std::memcpy(item->m_context.file_list, "a.png", 6);
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    const ViewContext& entry = item->m_viewQueue.first();
    QCOMPARE(int{entry.is_history}, 1);
    QCOMPARE(entry.op, std::int32_t{kOperationInput});
    QCOMPARE(entry.frame_height, 0);
    QCOMPARE(listBegin(entry, 5), QByteArray("a.png"));
}

void UpdateQueueTest::inputBeforeTheFirstFrameIsNotRecorded()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_drawThread->m_firstFrame = false;
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(item->m_viewQueue.size(), 0);
}

void UpdateQueueTest::otherOperationsAreNotRecorded_data()
{
    QTest::addColumn<int>("op");
    QTest::newRow("stop") << int{kOperationStop};
    QTest::newRow("start") << int{kOperationStart};
    QTest::newRow("redraw") << int{kOperationRedraw};
    QTest::newRow("apply view type") << int{kOperationApplyViewType};
    QTest::newRow("restore") << int{kOperationRestore};
    QTest::newRow("a code of the host's own") << 4711;
}

void UpdateQueueTest::otherOperationsAreNotRecorded()
{
    QFETCH(int, op);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = op;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.lastCall().context.op, op);
    QCOMPARE(item->m_viewQueue.size(), 0);
}

void UpdateQueueTest::changedViewTypeRecordsItsNegativeOnce()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_drawThread->m_firstFrame = false;
    item->m_context.op = kOperationRedraw;
    item->m_context.view_settings->view_type = 5;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    QCOMPARE(item->m_viewQueue.first().frame_height, -5);
    QCOMPARE(item->m_viewQueue.first().op, std::int32_t{kOperationInput});
    QCOMPARE(item->m_lastViewType, 5);

    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    item->m_drawThread->m_firstFrame = true;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 2);
    QCOMPARE(item->m_viewQueue.last().frame_height, 0);
}

void UpdateQueueTest::viewTypeGoingBackToZeroRecordsMarkerZero()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_lastViewType = 5;
    item->m_context.op = kOperationRedraw;
    item->m_context.frame_height = 77;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    QCOMPARE(item->m_viewQueue.first().frame_height, 0);
    QCOMPARE(item->m_lastViewType, 0);
}

void UpdateQueueTest::resetRecordsTheFiveCharactersInEveryCall()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = kOperationRedraw;
    item->m_context.view_settings->reset_camera = true;
    std::memcpy(item->m_context.file_list, "abcdefgh", 9);
    for (int count = 1; count <= 3; ++count) {
        item->update_view(&item->m_context);
        QCOMPARE(item->m_viewQueue.size(), count);
        const ViewContext& entry = item->m_viewQueue.last();
        // The sixth character keeps what was there, and so does the item's own list.
        QCOMPARE(listBegin(entry, 9), QByteArray("resetfgh\0", 9));
        QCOMPARE(entry.frame_height, 0);
        QCOMPARE(entry.op, std::int32_t{kOperationInput});
    }
    QCOMPARE(listBegin(item->m_context, 8), QByteArray("abcdefgh"));
    QCOMPARE(item->m_context.op, std::int32_t{kOperationRedraw});
}

void UpdateQueueTest::changedViewTypeWithResetIsOneEntryWithBoth()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = kOperationInput;
    item->m_context.view_settings->reset_camera = true;
    item->m_context.view_settings->view_type = 5;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    QCOMPARE(item->m_viewQueue.first().frame_height, -5);
    QCOMPARE(listBegin(item->m_viewQueue.first(), 5), QByteArray("reset"));
}

void UpdateQueueTest::resetIsReadBeforeTheViewerRuns()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = kOperationRedraw;
    item->m_context.view_settings->reset_camera = true;
    fixture.viewer.setOnCall([](ViewContext& context) { context.view_settings->reset_camera = false; });
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);

    fixture.viewer.setOnCall([](ViewContext& context) { context.view_settings->reset_camera = true; });
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
}

void UpdateQueueTest::operationAndViewTypeAreReadAfterTheViewerRan()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = kOperationRedraw;
    fixture.viewer.setOnCall([](ViewContext& context) { context.view_settings->view_type = 3; });
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    QCOMPARE(item->m_viewQueue.last().frame_height, -3);
    QCOMPARE(item->m_lastViewType, 3);

    fixture.viewer.setOnCall([](ViewContext& context) { context.op = kOperationInput; });
    item->m_context.op = kOperationRedraw;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 2);

    fixture.viewer.setOnCall([](ViewContext& context) { context.op = kOperationStop; });
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 2);
    fixture.viewer.setOnCall(nullptr);
}

void UpdateQueueTest::stopRecordsNothingWithoutReset()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.view_settings->view_type = 5;
    item->m_context.op = kOperationStop;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(item->m_viewQueue.size(), 0);
}

void UpdateQueueTest::stopWithResetRecordsAnEntryWithMarkerZero()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.view_settings->view_type = 5;
    item->m_context.view_settings->reset_camera = true;
    item->m_context.op = kOperationStop;
    item->m_context.frame_height = 50;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_viewQueue.size(), 1);
    QCOMPARE(item->m_viewQueue.first().frame_height, 0);
    QCOMPARE(item->m_viewQueue.first().op, std::int32_t{kOperationInput});
    QCOMPARE(listBegin(item->m_viewQueue.first(), 5), QByteArray("reset"));
}

void UpdateQueueTest::stopNeverTakesOverTheViewType()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.view_settings->view_type = 5;
    item->m_context.op = kOperationStop;
    item->update_view(&item->m_context);
    QCOMPARE(item->m_lastViewType, 0);
}

void UpdateQueueTest::entryIsAWholeIndependentCopyMarkedAsHistory()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    auto* bytes = reinterpret_cast<unsigned char*>(&item->m_context.scene_status);
    for (std::size_t i = 0; i < sizeof item->m_context.scene_status + 8; ++i)
        bytes[i] = static_cast<unsigned char>(i);
    item->m_context.op = kOperationInput;
    item->m_context.mouse_x = 17;
    std::memset(item->m_context.pad325, 0x5a, sizeof item->m_context.pad325);
    item->update_view(&item->m_context);
    const ViewContext atCall = item->m_context;
    item->m_context.mouse_x = 18;

    ViewContext expected;
    std::memcpy(&expected, &atCall, sizeof expected);
    expected.is_history = 1;
    expected.op = kOperationInput;
    expected.frame_height = 0;
    QCOMPARE(item->m_viewQueue.size(), 1);
    QCOMPARE(std::memcmp(&item->m_viewQueue.first(), &expected, sizeof expected), 0);
    QCOMPARE(static_cast<void*>(item->m_viewQueue.first().view_settings),
             static_cast<void*>(item->m_context.view_settings));
}

void UpdateQueueTest::historyIsNeverTrimmed()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.op = kOperationInput;
    constexpr int calls = 3000;
    for (int i = 0; i < calls; ++i) {
        item->m_context.mouse_x = i;
        item->update_view(&item->m_context);
    }
    QCOMPARE(item->m_viewQueue.size(), calls);
    for (int i = 0; i < calls; ++i)
        QCOMPARE(item->m_viewQueue[i].mouse_x, i);
}

void UpdateQueueTest::forcedRedrawTurnsResetOffAndMaterialUpdateOn()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.view_settings->reset_camera = true;
    item->m_context.material_settings->material_update = false;
    item->forcedraw();
    const ScriptedViewer::Call call = fixture.viewer.lastCall();
    QCOMPARE(call.context.op, std::int32_t{kOperationRedraw});
    QVERIFY(!call.view.reset_camera);
    QVERIFY(call.material.material_update);
    QVERIFY(!item->m_materialSettings.material_update);
}

void UpdateQueueTest::forcedRedrawNeverRecordsAReset()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.view_settings->reset_camera = true;
    item->forcedraw();
    QCOMPARE(item->m_viewQueue.size(), 0);
}

void UpdateQueueTest::forcedRedrawBeforeTheLiveBlocksExistChangesNoSettings()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_viewSettings.reset_camera = true;
    item->forcedraw();
    QCOMPARE(item->m_context.op, std::int32_t{kOperationRedraw});
    QVERIFY(item->m_viewSettings.reset_camera);
    QVERIFY(!item->m_materialSettings.material_update);
    QCOMPARE(fixture.viewer.callCount(), 0);
}

void UpdateQueueTest::fakeClickSendsDownAndUpAtTwoTwo()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_context.wheel_dx = 3.0f;
    item->m_context.wheel_dy = 3.0f;
    item->m_context.mouse_modifiers = 4;
    item->fakeMouseEvent();
    const auto calls = fixture.viewer.calls();
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

void UpdateQueueTest::fakeClickTakesAtLeast160Milliseconds()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    const auto begin = ScriptedViewer::Clock::now();
    item->fakeMouseEvent();
    const auto end = ScriptedViewer::Clock::now();
    const auto calls = fixture.viewer.calls();
    QVERIFY(end - begin >= std::chrono::milliseconds(160));
    QVERIFY(calls[1].time - calls[0].time >= std::chrono::milliseconds(80));
    QVERIFY(end - calls[1].time >= std::chrono::milliseconds(80));
}

void UpdateQueueTest::fakeClickMakesTheDragALeftOne()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_dragKind = 2;
    int kindAtDown = 0;
    int kindAtUp = 0;
    fixture.viewer.setOnCall([&](ViewContext& context) {
        (context.mouse_type == kMouseButtonDown ? kindAtDown : kindAtUp) = item->m_dragKind;
    });
    item->fakeMouseEvent();
    fixture.viewer.setOnCall(nullptr);
    QCOMPARE(kindAtDown, 2);
    QCOMPARE(kindAtUp, 1);
}

void UpdateQueueTest::directCallHasNeitherLockNorHistoryNorGate()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    item->m_viewerReady = 0;
    item->setLocked(true);
    item->m_context.op = kOperationInput;
    item->m_context.is_history = 1;
    bool wasFree = false;
    fixture.viewer.setOnCall([&](ViewContext&) {
        wasFree = item->m_viewMutex.tryLock();
        if (wasFree)
            item->m_viewMutex.unlock();
    });
    item->re_render_view(&item->m_context);
    fixture.viewer.setOnCall(nullptr);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(fixture.viewer.lastCall().argc, 0);
    QVERIFY(!fixture.viewer.lastCall().hasArgv);
    QVERIFY(wasFree);
    QCOMPARE(item->m_viewQueue.size(), 0);
    QCOMPARE(int{item->m_context.is_history}, 1);
}

void UpdateQueueTest::directCallNeedsAThreadAndAFunction()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    CDrawByOpenGL* thread = std::exchange(item->m_drawThread, nullptr);
    item->re_render_view(&item->m_context);
    item->m_drawThread = thread;
    QCOMPARE(fixture.viewer.callCount(), 0);

    SetRunHandle(nullptr);
    item->re_render_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 0);
}

OV3D_TEST_MAIN(UpdateQueueTest)
#include "updatequeue_test.moc"
