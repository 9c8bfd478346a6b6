#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/mutexprobe.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

#include <thread>
#include <utility>

/// When and how an update reaches the viewer.
class ViewUpdateTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void nothingHappensBeforeTheViewerIsReady();
    void lockedLoadedItemIgnoresUpdates();
    void lockedItemWithoutModelPassesUpdates();
    void viewerIsCalledOnTheCallersThreadWithTheItemsOwnContext();
    void historyMarkIsClearedBeforeTheCall();
    void withoutViewerFunctionHistoryIsStillKept();
    void withoutRenderThreadNothingIsCalledOrKept();
    void viewMutexIsHeldDuringTheCallAndFreeAfterIt();
};

void ViewUpdateTest::init()
{
    SingleItemTestBase::init();
    ItemFixture::makeReady(m_item);
}

void ViewUpdateTest::nothingHappensBeforeTheViewerIsReady()
{
    m_item->m_viewerReady = 0;
    m_item->m_context.is_history = 7;
    m_item->m_context.view_settings->reset_camera = true;
    update(kOperationInput);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
    QCOMPARE(int{m_item->m_context.is_history}, 7);
}

void ViewUpdateTest::lockedLoadedItemIgnoresUpdates()
{
    m_item->setLocked(true);
    m_item->m_context.view_settings->view_type = 5;
    update(kOperationInput);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
    QCOMPARE(m_item->m_lastViewType, 0);
}

void ViewUpdateTest::lockedItemWithoutModelPassesUpdates()
{
    m_item->m_isLoaded = false;
    m_item->setLocked(true);
    update(kOperationInput);
    QCOMPARE(m_fixture->viewer.callCount(), 1);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
}

void ViewUpdateTest::viewerIsCalledOnTheCallersThreadWithTheItemsOwnContext()
{
    m_item->update_view(&m_item->m_context);
    const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
    QCOMPARE(call.argc, 0);
    QVERIFY(!call.hasArgv);
    QCOMPARE(call.contextAddress, static_cast<void*>(&m_item->m_context));
    QCOMPARE(call.thread, reinterpret_cast<quintptr>(QThread::currentThreadId()));

    quintptr other = 0;
    std::thread([&] {
        other = reinterpret_cast<quintptr>(QThread::currentThreadId());
        m_item->update_view(&m_item->m_context);
    }).join();
    QCOMPARE(m_fixture->viewer.lastCall().thread, other);
}

void ViewUpdateTest::historyMarkIsClearedBeforeTheCall()
{
    m_item->m_context.is_history = 1;
    m_item->update_view(&m_item->m_context);
    QCOMPARE(int{m_fixture->viewer.lastCall().context.is_history}, 0);
    QCOMPARE(int{m_item->m_context.is_history}, 0);
}

void ViewUpdateTest::withoutViewerFunctionHistoryIsStillKept()
{
    SetRunHandle(nullptr);
    update(kOperationInput);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
}

void ViewUpdateTest::withoutRenderThreadNothingIsCalledOrKept()
{
    CDrawByOpenGL* thread = std::exchange(m_item->m_drawThread, nullptr);
    m_item->m_context.is_history = 1;
    update(kOperationInput);
    const bool mutexWasFree = isFree(m_item->m_viewMutex);
    const int mark = m_item->m_context.is_history;
    m_item->m_drawThread = thread;
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
    QCOMPARE(mark, 1);
    QVERIFY(mutexWasFree);
}

void ViewUpdateTest::viewMutexIsHeldDuringTheCallAndFreeAfterIt()
{
    bool wasFree = true;
    m_fixture->viewer.setOnCall(
        [&](ViewContext&) { std::thread([&] { wasFree = isFree(m_item->m_viewMutex); }).join(); });
    m_item->update_view(&m_item->m_context);
    m_fixture->viewer.setOnCall(nullptr);
    QVERIFY(!wasFree);
    QVERIFY(isFree(m_item->m_viewMutex));
}

OV3D_TEST_MAIN(ViewUpdateTest)
#include "viewupdate_test.moc"
