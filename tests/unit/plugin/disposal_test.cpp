#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTest>
#include <QThread>

#include <optional>

namespace {

/// Deletes the thread object that an item leaves behind when it is deleted without Release().
void deleteLeftThread(CDrawByOpenGL* thread)
{
    thread->m_item = nullptr;
    delete thread;
}

} // namespace

/// How items end, and how long that takes. Times are lower bounds, with upper bounds far above them: the rules are that
/// a wait takes place, or that none does.
class DisposalTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture.emplace();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

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
        QElapsedTimer timer;
        timer.start();
        item->Release();
        QVERIFY(timer.elapsed() >= 300);
        QVERIFY(timer.elapsed() < 3000);
    }

    void deletionOfANeverLoadedItemEndsAtOnceButNotBeforeTenMilliseconds()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        CDrawByOpenGL* thread = item->m_drawThread;
        QElapsedTimer timer;
        timer.start();
        delete item;
        QVERIFY(timer.elapsed() >= 10);
        QVERIFY(timer.elapsed() < 3000);
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

    void releaseTwoSecondsAfterTheLoadTakesAboutFourMore()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        m_fixture->forget(item);
        QVERIFY(waitFor([item] { return item->m_loadTimer.elapsed() >= 2000; }));
        const QElapsedTimer sinceLoad = item->m_loadTimer;
        const qint64 before = sinceLoad.elapsed();
        item->Release();
        const qint64 after = sinceLoad.elapsed();
        QVERIFY2(after > 6000, qPrintable(QString::number(after)));
        QVERIFY2(after - before < 5500, qPrintable(QString::number(after - before)));
    }

    void deletionWithoutReleaseWaitsSixSecondsAfterTheLoad()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->forget(item);
        CDrawByOpenGL* thread = item->m_drawThread;
        item->m_loadTimer.start();
        const QElapsedTimer sinceLoad = item->m_loadTimer;
        delete item;
        const qint64 after = sinceLoad.elapsed();
        QVERIFY2(after > 6000 && after < 8000, qPrintable(QString::number(after)));
        deleteLeftThread(thread);
    }

    void releaseLongAfterTheLoadWaitsNoMore()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_loadTimer.start();
        QThread::msleep(6010); // the rule itself
        m_fixture->forget(item);
        QElapsedTimer timer;
        timer.start();
        item->Release();
        QVERIFY(timer.elapsed() < 3000);
    }

private:
    std::optional<ItemFixture> m_fixture;
};

OV3D_TEST_MAIN(DisposalTest)
#include "disposal_test.moc"
