#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QElapsedTimer>
#include <QPointer>

#include <atomic>
#include <memory>
#include <thread>

namespace {

constexpr qint64 kStopGraceMs = 300;
constexpr qint64 kWaitAfterLoadMs = 6000;

/// An item whose host keeps the render thread inside the notice of a frame for as long as told.
class HoldingItem : public COv3DObject
{
public:
    HoldingItem()
        : COv3DObject(0, false, nullptr)
    {
    }

    void notifyObjPropertyChanged(int code, const QString& text) override
    {
        if (QThread::currentThread() == m_drawThread) {
            isHeld = true;
            while (holds)
                QThread::msleep(1);
        }
        COv3DObject::notifyObjPropertyChanged(code, text);
    }

    std::atomic<bool> holds{false};
    std::atomic<bool> isHeld{false};
};

qint64 millisecondsOf(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return timer.elapsed();
}

void start(COv3DObject* item)
{
    item->m_drawThread->m_modelPath = QStringLiteral("x.stl");
    item->m_drawThread->startRunning();
    item->m_drawThread->startDraw(1280, 960);
}

} // namespace

class RenderThreadStopTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void stopTellsTheReadyViewerOnceOnTheCallersThread();
    void stopEndsTheLoopBeforeItTellsTheViewer();
    void stopTellsTheViewerOfALockedLoadedItem();
    void stopWithoutReadyViewerTerminatesTheThreadAndTellsNobody();
    void stopWhileSettlingEndsTheThread();
    void stopOfAThreadThatNeverRanTakesItsTimeAllTheSame();
    void stopReportsAThreadThatDoesNotEnd();
    void deletedThreadWaitsForAThreadThatDoesNotEndAndStopsOnce();
    void stopGivesTheFrameMemoryBackAndKeepsItsAddress();
    void undeliveredStopLeavesTheFrameMemoryAlone();
    void stoppedThreadCanRunAgain();
    void stopAndStartMayMeetAtAnyMoment();

    void releaseDeliversTheStopBeforeTheItemEnds();
    void releaseOfAFreshItemTakesTheStopGraceAlone();
    void releaseAfterALoadWaitsUntilSixSecondsHavePassed();
    void releaseLongAfterALoadWaitsNoLonger();
    void deletingAFreshItemTakesOneShortSleep();
    void deletingALoadedItemStopsItsThreadAndLeavesItAllocated();
};

void RenderThreadStopTest::stopTellsTheReadyViewerOnceOnTheCallersThread()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    QVERIFY(waitFor([&] { return fixture.viewer.runningCount() == 1; }));
    fixture.viewer.clearCalls();
    bool ended = false;
    const qint64 took = millisecondsOf([&] { ended = item->m_drawThread->stopRunning(); });
    QVERIFY(ended);
    QVERIFY(took >= kStopGraceMs);
    QVERIFY(item->m_drawThread->isFinished());
    QVERIFY(!item->m_drawThread->m_running);
    QCOMPARE(item->m_context.op, std::int32_t{kOperationStop});
    QCOMPARE(fixture.viewer.callCount(), 1);
    const ScriptedViewer::Call call = fixture.viewer.lastCall();
    QCOMPARE(call.context.op, std::int32_t{kOperationStop});
    QCOMPARE(call.argc, 0);
    QCOMPARE(call.thread, reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QCOMPARE(fixture.viewer.runningCount(), 0);
    QCOMPARE(item->m_viewQueue.size(), 0);
}

void RenderThreadStopTest::stopEndsTheLoopBeforeItTellsTheViewer()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    bool wasRunning = true;
    fixture.viewer.setOnCall([&](ViewContext&) { wasRunning = loadAcquire(item->m_drawThread->m_running); });
    item->m_drawThread->stopRunning();
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(!wasRunning);
}

void RenderThreadStopTest::stopTellsTheViewerOfALockedLoadedItem()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    item->setLocked(true);
    fixture.viewer.clearCalls();
    fixture.release(item);
    QCOMPARE(fixture.viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    QCOMPARE(fixture.viewer.runningCount(), 0);
}

void RenderThreadStopTest::stopWithoutReadyViewerTerminatesTheThreadAndTellsNobody()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    start(item);
    QVERIFY(waitFor([&] { return fixture.viewer.runningCount() == 1; }));
    QVERIFY(item->m_drawThread->stopRunning());
    QVERIFY(item->m_drawThread->isFinished());
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(fixture.viewer.runningCount(), 1);
    QCOMPARE(item->m_viewerReady, 0);
}

void RenderThreadStopTest::stopWhileSettlingEndsTheThread()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    start(item);
    QVERIFY(waitFor([&] { return loadAcquire(item->m_context.first_draw) != 0; }));
    QVERIFY(item->m_drawThread->stopRunning());
    QVERIFY(item->m_drawThread->isFinished());
    QCOMPARE(loadAcquire(item->m_viewerReady), 0);
    QCOMPARE(fixture.viewer.callCount(), 0);
}

void RenderThreadStopTest::stopOfAThreadThatNeverRanTakesItsTimeAllTheSame()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    bool ended = false;
    QVERIFY(millisecondsOf([&] { ended = item->m_drawThread->stopRunning(); }) >= kStopGraceMs);
    QVERIFY(ended);
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_context.op, std::int32_t{kOperationStop});
}

void RenderThreadStopTest::stopReportsAThreadThatDoesNotEnd()
{
    ItemFixture fixture;
    auto* item = new HoldingItem;
    item->holds = true;
    start(item);
    QVERIFY(waitFor([&] { return item->isHeld.load(); }));
    QVERIFY(!item->m_drawThread->stopRunning());
    QVERIFY(item->m_drawThread->isRunning());
    item->holds = false;
    QVERIFY(item->m_drawThread->wait(10000));
    item->Release();
}

void RenderThreadStopTest::deletedThreadWaitsForAThreadThatDoesNotEndAndStopsOnce()
{
    ItemFixture fixture;
    auto* item = new HoldingItem;
    item->holds = true;
    start(item);
    QVERIFY(waitFor([&] { return item->isHeld.load(); }));
    std::thread helper([item] {
        // Longer than the stop waits, so that the deletion has to wait by itself.
        QThread::msleep(700);
        item->holds = false;
    });
    fixture.viewer.clearCalls();
    delete item->m_drawThread;
    const bool waited = !item->holds;
    helper.join();
    item->m_drawThread = nullptr;
    QVERIFY(waited);
    QCOMPARE(fixture.viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    item->Release();
}

void RenderThreadStopTest::stopGivesTheFrameMemoryBackAndKeepsItsAddress()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    unsigned char* const buffer = item->m_context.frame_buffer;
    QVERIFY(buffer[0] != 0);
    item->m_drawThread->stopRunning();
    QCOMPARE(static_cast<void*>(item->m_context.frame_buffer), static_cast<void*>(buffer));
    QCOMPARE(int{buffer[0]}, 0);
    buffer[0] = 3;
    // Nor does the item's end free it.
    fixture.release(item);
    QCOMPARE(int{buffer[1]}, 0);
    buffer[1] = 4;
    QCOMPARE(int{buffer[1]}, 4);
}

void RenderThreadStopTest::undeliveredStopLeavesTheFrameMemoryAlone()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    start(item);
    QVERIFY(waitFor([&] { return fixture.viewer.runningCount() == 1; }));
    item->m_context.frame_buffer[0] = 9;
    item->m_drawThread->stopRunning();
    QCOMPARE(int{item->m_context.frame_buffer[0]}, 9);
}

void RenderThreadStopTest::stoppedThreadCanRunAgain()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    unsigned char* const firstBuffer = item->m_context.frame_buffer;
    item->m_drawThread->stopRunning();
    QVERIFY(item->loadFromFile(fixture.writeFile(QStringLiteral("second.stl"))));
    QVERIFY(waitFor([&] { return fixture.viewer.starts().size() == 2; }));
    QVERIFY(waitFor([&] { return fixture.viewer.runningCount() == 1; }));
    QVERIFY(item->m_context.frame_buffer != firstBuffer);
    QCOMPARE(fixture.viewer.starts().back().context.object_id, 2);
    // Not told to stop in the middle of its start.
    QVERIFY(waitFor([&] { return loadAcquire(item->m_context.first_draw) != 0; }));
}

void RenderThreadStopTest::stopAndStartMayMeetAtAnyMoment()
{
    // Terminating a thread inside a log entry or a lock would abort or hang the process.
    for (int delay = 0; delay < 12; ++delay) {
        ItemFixture fixture;
        COv3DObject* item = fixture.createItem();
        item->setSize(QSizeF(64, 64), false, false);
        start(item);
        QThread::msleep(static_cast<unsigned long>(delay) * 37);
        QVERIFY(item->m_drawThread->stopRunning());
        QVERIFY(item->m_drawThread->m_mutex.tryLock());
        item->m_drawThread->m_mutex.unlock();
        QVERIFY(item->m_viewMutex.tryLock());
        item->m_viewMutex.unlock();
        fixture.viewer.abandon(&item->m_context);
    }
}

void RenderThreadStopTest::releaseDeliversTheStopBeforeTheItemEnds()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    fixture.viewer.clearCalls();
    const QPointer<COv3DObject> guard(item);
    bool itemLived = false;
    bool threadWasSet = false;
    fixture.viewer.setOnCall([&](ViewContext&) {
        itemLived = !guard.isNull();
        threadWasSet = guard && guard->m_drawThread;
    });
    fixture.release(item);
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(itemLived);
    QVERIFY(threadWasSet);
    QVERIFY(guard.isNull());
    QCOMPARE(fixture.viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    QCOMPARE(fixture.viewer.callCount(), 1);
}

void RenderThreadStopTest::releaseOfAFreshItemTakesTheStopGraceAlone()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    fixture.forget(item);
    const qint64 took = millisecondsOf([&] { item->Release(); });
    QVERIFY(took >= kStopGraceMs);
    QVERIFY(took < kWaitAfterLoadMs);
}

void RenderThreadStopTest::releaseAfterALoadWaitsUntilSixSecondsHavePassed()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    const QElapsedTimer loadTimer = item->m_loadTimer;
    QVERIFY(waitFor([&] { return loadTimer.elapsed() > 2000; }));
    fixture.forget(item);
    const qint64 took = millisecondsOf([&] { item->Release(); });
    QVERIFY(loadTimer.elapsed() > kWaitAfterLoadMs);
    // The two seconds before count: the wait is about four.
    QVERIFY(took < kWaitAfterLoadMs);
}

void RenderThreadStopTest::releaseLongAfterALoadWaitsNoLonger()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_loadTimer.start();
    QVERIFY(waitFor([&] { return item->m_loadTimer.elapsed() > kWaitAfterLoadMs; }));
    fixture.forget(item);
    const qint64 took = millisecondsOf([&] { item->Release(); });
    QVERIFY(took >= kStopGraceMs + 10);
    QVERIFY(took < kWaitAfterLoadMs);
}

void RenderThreadStopTest::deletingAFreshItemTakesOneShortSleep()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    fixture.forget(item);
    const std::unique_ptr<CDrawByOpenGL> thread(item->m_drawThread);
    const qint64 took = millisecondsOf([&] { delete item; });
    QVERIFY(took >= 10);
    QVERIFY(took < kWaitAfterLoadMs);
    QCOMPARE(fixture.viewer.callCount(), 0);
    thread->m_item = nullptr;
}

void RenderThreadStopTest::deletingALoadedItemStopsItsThreadAndLeavesItAllocated()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    fixture.forget(item);
    const std::unique_ptr<CDrawByOpenGL> thread(item->m_drawThread);
    const QElapsedTimer loadTimer = item->m_loadTimer;
    fixture.viewer.clearCalls();
    delete item;
    QVERIFY(loadTimer.elapsed() > kWaitAfterLoadMs);
    QVERIFY(thread->isFinished());
    QVERIFY(!thread->m_drawing);
    QVERIFY(!thread->m_running);
    QCOMPARE(fixture.viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    QCOMPARE(fixture.viewer.runningCount(), 0);
    thread->m_item = nullptr;
}

OV3D_TEST_MAIN(RenderThreadStopTest)
#include "renderthreadstop_test.moc"
