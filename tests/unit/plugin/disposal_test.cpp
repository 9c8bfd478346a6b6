#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/recordedsleeps.h"
#include "tests/support/testmain.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTest>

#include <algorithm>
#include <vector>

namespace {

/// Deletes the thread object that an item leaves behind when it is deleted without Release().
void deleteLeftThread(CDrawByOpenGL* thread)
{
    thread->m_item = nullptr;
    delete thread;
}

} // namespace

/// How items end, and which waits that takes. The waits are counted, as if the time passed that they ask for.
class DisposalTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void releaseDeletesTheItemAndItsThread()
    {
        QPointer<COv3DObject> item = m_fixture->createItem();
        QPointer<CDrawByOpenGL> thread = item->m_drawThread;
        m_fixture->release(item);
        QVERIFY(!thread);
        QVERIFY(!item);
    }

    void releaseOfANeverLoadedItemTakesTheStopsPauseAlone()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        RecordedSleeps sleeps;
        const SleepRecording recording(sleeps);
        item->Release();
        QCOMPARE(sleeps.milliseconds, std::vector<unsigned long>{300});
    }

    void deletionOfANeverLoadedItemTakesOneStepAlone()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        CDrawByOpenGL* thread = item->m_drawThread;
        RecordedSleeps sleeps;
        const SleepRecording recording(sleeps);
        delete item;
        QCOMPARE(sleeps.milliseconds, std::vector<unsigned long>{10});
        deleteLeftThread(thread);
    }

    void releaseOfALoadedItemSendsTheStopRequest()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{0});
        m_fixture->release(item);
        QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
        QCOMPARE(m_fixture->viewer.runningCount(), 0);
    }

    void deletionWithoutReleaseStopsARunningThreadAndLeavesTheObject()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        m_fixture->forget(item);
        item->m_loadTimer.invalidate();
        QPointer<CDrawByOpenGL> thread = item->m_drawThread;
        delete item;
        QVERIFY(thread);
        QVERIFY(!thread->isRunning());
        QVERIFY(!thread->m_running);
        QVERIFY(!thread->m_drawing);
        QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t{1});
        deleteLeftThread(thread);
    }

    /// Hosts may still hold the address.
    void hitShapeOutlivesTheItem()
    {
        COv3DObject* item = m_fixture->createItem();
        item->doUpdateImage();
        QPainterPath* path = item->m_hitPath;
        QVERIFY(path);
        m_fixture->release(item);
        path->addRect(1.0, 2.0, 3.0, 4.0);
        QCOMPARE(path->boundingRect(), QRectF(1.0, 2.0, 3.0, 4.0));
        delete path;
    }

    void releaseAfterALoadWaitsForTheRestOfSixSeconds_data()
    {
        QTest::addColumn<int>("passed"); // since the load, ms
        QTest::newRow("at once") << 0;
        QTest::newRow("two seconds later") << 2000;
        QTest::newRow("shortly before the six seconds") << 5600;
    }

    void releaseAfterALoadWaitsForTheRestOfSixSeconds()
    {
        QFETCH(int, passed);
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        RecordedSleeps sleeps;
        const SleepRecording recording(sleeps);
        item->m_loadTimer.start();
        const QElapsedTimer sinceLoad = item->m_loadTimer;
        SleepRecording::pass(static_cast<unsigned long>(passed));
        item->Release();
        QVERIFY(sinceLoad.elapsed() > 6000);
        // What passes while the test itself works only shortens the wait, which goes by steps of ten.
        QVERIFY(sleeps.total() <= static_cast<unsigned long>(6000 - passed + 20));
        QCOMPARE(sleeps.milliseconds.front(), 300UL);
        QCOMPARE(std::count(sleeps.milliseconds.begin() + 1, sleeps.milliseconds.end(), 10UL),
                 static_cast<std::ptrdiff_t>(sleeps.milliseconds.size()) - 1);
    }

    void deletionWithoutReleaseWaitsSixSecondsAfterTheLoad()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        CDrawByOpenGL* thread = item->m_drawThread;
        RecordedSleeps sleeps;
        const SleepRecording recording(sleeps);
        item->m_loadTimer.start();
        const QElapsedTimer sinceLoad = item->m_loadTimer;
        delete item;
        QVERIFY(sinceLoad.elapsed() > 6000);
        QVERIFY(sleeps.total() <= 6020);
        deleteLeftThread(thread);
    }

    void releaseLongAfterTheLoadWaitsNoMore()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        RecordedSleeps sleeps;
        const SleepRecording recording(sleeps);
        item->m_loadTimer.start();
        SleepRecording::pass(6001);
        item->Release();
        QCOMPARE(sleeps.milliseconds, (std::vector<unsigned long>{300, 10}));
    }
};

OV3D_TEST_MAIN(DisposalTest)
#include "disposal_test.moc"
