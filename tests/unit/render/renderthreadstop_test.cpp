#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/handshake.h"
#include "tests/support/mutexprobe.h"
#include "tests/support/recordedsleeps.h"
#include "tests/support/testmain.h"
#include "tests/unit/render/runtestbase.h"

#include <QElapsedTimer>
#include <QPointer>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int kStopGraceMs = 300;
constexpr int kWaitAfterLoadMs = 6000;

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

} // namespace

class RenderThreadStopTest : public RunTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();

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

private:
    RecordedSleeps m_sleeps;
};

void RenderThreadStopTest::init()
{
    RunTestBase::init();
    m_sleeps = {};
    // A thread that runs really needs its grace; only the long wait is spared.
    m_sleeps.onSleep = [this](std::size_t) {
        if (m_sleeps.milliseconds.back() == kStopGraceMs)
            QThread::usleep(kStopGraceMs * 1000);
    };
}

void RenderThreadStopTest::stopTellsTheReadyViewerOnceOnTheCallersThread()
{
    QVERIFY(m_fixture->load(m_item));
    QVERIFY(waitFor([&] { return m_fixture->viewer.runningCount() == 1; }));
    m_fixture->viewer.clearCalls();
    bool ended = false;
    const qint64 took = millisecondsOf([&] { ended = m_item->m_drawThread->stopRunning(); });
    QVERIFY(ended);
    QVERIFY(took >= kStopGraceMs);
    QVERIFY(m_item->m_drawThread->isFinished());
    QVERIFY(!m_item->m_drawThread->m_running);
    QCOMPARE(m_item->m_context.op, std::int32_t{kOperationStop});
    QCOMPARE(m_fixture->viewer.callCount(), 1);
    const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
    QCOMPARE(call.context.op, std::int32_t{kOperationStop});
    QCOMPARE(call.argc, 0);
    QCOMPARE(call.thread, reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QCOMPARE(m_fixture->viewer.runningCount(), 0);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
}

void RenderThreadStopTest::stopEndsTheLoopBeforeItTellsTheViewer()
{
    QVERIFY(m_fixture->load(m_item));
    bool wasRunning = true;
    m_fixture->viewer.setOnCall([&](ViewContext&) { wasRunning = loadAcquire(m_item->m_drawThread->m_running); });
    m_item->m_drawThread->stopRunning();
    m_fixture->viewer.setOnCall(nullptr);
    QVERIFY(!wasRunning);
}

void RenderThreadStopTest::stopTellsTheViewerOfALockedLoadedItem()
{
    QVERIFY(m_fixture->load(m_item));
    m_item->setLocked(true);
    m_fixture->viewer.clearCalls();
    m_fixture->release(m_item);
    QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    QCOMPARE(m_fixture->viewer.runningCount(), 0);
}

void RenderThreadStopTest::stopWithoutReadyViewerTerminatesTheThreadAndTellsNobody()
{
    withholdFirstDraw();
    start(m_item);
    QVERIFY(waitFor([&] { return m_fixture->viewer.runningCount() == 1; }));
    m_item->m_drawThread->stopRunning();
    QVERIFY(waitFor([&] { return m_item->m_drawThread->isFinished(); }));
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QCOMPARE(m_fixture->viewer.runningCount(), 1);
    QCOMPARE(m_item->m_viewerReady, 0);
}

void RenderThreadStopTest::stopWhileSettlingEndsTheThread()
{
    start(m_item);
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_context.first_draw) != 0; }));
    m_item->m_drawThread->stopRunning();
    QVERIFY(waitFor([&] { return m_item->m_drawThread->isFinished(); }));
    QCOMPARE(loadAcquire(m_item->m_viewerReady), 0);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
}

void RenderThreadStopTest::stopOfAThreadThatNeverRanTakesItsTimeAllTheSame()
{
    bool ended = false;
    QVERIFY(millisecondsOf([&] { ended = m_item->m_drawThread->stopRunning(); }) >= kStopGraceMs);
    QVERIFY(ended);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QCOMPARE(m_item->m_context.op, std::int32_t{kOperationStop});
}

void RenderThreadStopTest::stopReportsAThreadThatDoesNotEnd()
{
    auto* holding = new HoldingItem;
    holding->holds = true;
    start(holding);
    QVERIFY(waitFor([&] { return holding->isHeld.load(); }));
    QVERIFY(!holding->m_drawThread->stopRunning());
    QVERIFY(holding->m_drawThread->isRunning());
    holding->holds = false;
    QVERIFY(holding->m_drawThread->wait(10000));
    holding->Release();
}

void RenderThreadStopTest::deletedThreadWaitsForAThreadThatDoesNotEndAndStopsOnce()
{
    auto* holding = new HoldingItem;
    holding->holds = true;
    start(holding);
    QVERIFY(waitFor([&] { return holding->isHeld.load(); }));
    std::thread helper([holding] {
        // Longer than the stop waits, so that the deletion has to wait by itself.
        QThread::msleep(700);
        holding->holds = false;
    });
    m_fixture->viewer.clearCalls();
    delete holding->m_drawThread;
    const bool waited = !holding->holds;
    helper.join();
    holding->m_drawThread = nullptr;
    QVERIFY(waited);
    QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    holding->Release();
}

void RenderThreadStopTest::stopGivesTheFrameMemoryBackAndKeepsItsAddress()
{
    QVERIFY(m_fixture->load(m_item));
    unsigned char* const buffer = m_item->m_context.frame_buffer;
    QVERIFY(buffer[0] != 0);
    m_item->m_drawThread->stopRunning();
    QCOMPARE(static_cast<void*>(m_item->m_context.frame_buffer), static_cast<void*>(buffer));
    QCOMPARE(int{buffer[0]}, 0);
    buffer[0] = 3;
    // Nor does the item's end free it.
    m_fixture->release(m_item);
    QCOMPARE(int{buffer[1]}, 0);
    buffer[1] = 4;
    QCOMPARE(int{buffer[1]}, 4);
}

void RenderThreadStopTest::undeliveredStopLeavesTheFrameMemoryAlone()
{
    withholdFirstDraw();
    start(m_item);
    QVERIFY(waitFor([&] { return m_fixture->viewer.runningCount() == 1; }));
    m_item->m_context.frame_buffer[0] = 9;
    m_item->m_drawThread->stopRunning();
    QCOMPARE(int{m_item->m_context.frame_buffer[0]}, 9);
}

void RenderThreadStopTest::stoppedThreadCanRunAgain()
{
    QVERIFY(m_fixture->load(m_item));
    unsigned char* const firstBuffer = m_item->m_context.frame_buffer;
    m_item->m_drawThread->stopRunning();
    QVERIFY(m_item->loadFromFile(m_fixture->writeFile(QStringLiteral("second.stl"))));
    QVERIFY(waitFor([&] { return m_fixture->viewer.starts().size() == 2; }));
    QVERIFY(waitFor([&] { return m_fixture->viewer.runningCount() == 1; }));
    QVERIFY(m_item->m_context.frame_buffer != firstBuffer);
    QCOMPARE(m_fixture->viewer.starts().back().context.object_id, 2);
    // Not told to stop in the middle of its start.
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_context.first_draw) != 0; }));
}

void RenderThreadStopTest::stopAndStartMayMeetAtAnyMoment()
{
    // Terminating a thread inside a log entry or a lock would abort or hang the process.
    for (int delay = 0; delay < 12; ++delay) {
        COv3DObject* other = m_fixture->createItem();
        other->setSize(QSizeF(64, 64), false, false);
        start(other);
        QThread::msleep(static_cast<unsigned long>(delay) * 37);
        other->m_drawThread->stopRunning();
        QVERIFY(waitFor([&] { return other->m_drawThread->isFinished(); }));
        QVERIFY(isFree(other->m_drawThread->m_mutex));
        QVERIFY(isFree(other->m_viewMutex));
        m_fixture->release(other);
    }
}

void RenderThreadStopTest::releaseDeliversTheStopBeforeTheItemEnds()
{
    QVERIFY(m_fixture->load(m_item));
    m_fixture->viewer.clearCalls();
    const QPointer<COv3DObject> guard(m_item);
    bool itemLived = false;
    bool threadWasSet = false;
    m_fixture->viewer.setOnCall([&](ViewContext&) {
        itemLived = !guard.isNull();
        threadWasSet = guard && guard->m_drawThread;
    });
    m_fixture->release(m_item);
    m_fixture->viewer.setOnCall(nullptr);
    QVERIFY(itemLived);
    QVERIFY(threadWasSet);
    QVERIFY(guard.isNull());
    QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    QCOMPARE(m_fixture->viewer.callCount(), 1);
}

void RenderThreadStopTest::releaseOfAFreshItemTakesTheStopGraceAlone()
{
    m_fixture->forget(m_item);
    const SleepRecording recording(m_sleeps);
    m_item->Release();
    QCOMPARE(m_sleeps.milliseconds, std::vector<unsigned long>{kStopGraceMs});
}

void RenderThreadStopTest::releaseAfterALoadWaitsUntilSixSecondsHavePassed()
{
    QVERIFY(m_fixture->load(m_item));
    const QElapsedTimer loadTimer = m_item->m_loadTimer;
    m_fixture->forget(m_item);
    const SleepRecording recording(m_sleeps);
    SleepRecording::pass(2000);
    m_item->Release();
    QVERIFY(loadTimer.elapsed() > kWaitAfterLoadMs);
    // The two seconds before count: the wait is about four.
    QVERIFY(m_sleeps.total() <= kWaitAfterLoadMs - 2000 + 20);
}

void RenderThreadStopTest::releaseLongAfterALoadWaitsNoLonger()
{
    m_fixture->forget(m_item);
    const SleepRecording recording(m_sleeps);
    m_item->m_loadTimer.start();
    SleepRecording::pass(kWaitAfterLoadMs + 1);
    m_item->Release();
    QCOMPARE(m_sleeps.milliseconds, (std::vector<unsigned long>{kStopGraceMs, 10}));
}

void RenderThreadStopTest::deletingAFreshItemTakesOneShortSleep()
{
    m_fixture->forget(m_item);
    const std::unique_ptr<CDrawByOpenGL> thread(m_item->m_drawThread);
    const SleepRecording recording(m_sleeps);
    delete m_item;
    thread->m_item = nullptr;
    QCOMPARE(m_sleeps.milliseconds, std::vector<unsigned long>{10});
    QCOMPARE(m_fixture->viewer.callCount(), 0);
}

void RenderThreadStopTest::deletingALoadedItemStopsItsThreadAndLeavesItAllocated()
{
    QVERIFY(m_fixture->load(m_item));
    m_fixture->forget(m_item);
    const std::unique_ptr<CDrawByOpenGL> thread(m_item->m_drawThread);
    const QElapsedTimer loadTimer = m_item->m_loadTimer;
    m_fixture->viewer.clearCalls();
    const SleepRecording recording(m_sleeps);
    delete m_item;
    thread->m_item = nullptr;
    QVERIFY(loadTimer.elapsed() > kWaitAfterLoadMs);
    QVERIFY(thread->isFinished());
    QVERIFY(!thread->m_drawing);
    QVERIFY(!thread->m_running);
    QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
    QCOMPARE(m_fixture->viewer.runningCount(), 0);
}

OV3D_TEST_MAIN(RenderThreadStopTest)
#include "renderthreadstop_test.moc"
