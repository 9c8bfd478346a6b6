#include "src/render/viewlock.h"

#include "src/plugin/ov3dobject.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <atomic>
#include <thread>

namespace {

bool isFree(QMutex& mutex)
{
    const bool free = mutex.tryLock();
    if (free)
        mutex.unlock();
    return free;
}

} // namespace

class ViewLockTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void holdsTheViewMutexAndGivesItBack();
    void strandedMutexStaysLocked();
    void strandedMutexBlocksNoLaterLock();
    void laterSuccessGivesTheStrandedMutexBack();
    void strandedTwiceIsGivenBackOnce();
    void exclusionHoldsWhileTheMutexIsStranded();
    void itemWithStrandedMutexEndsWithoutAWarning();
    void updatesGoOnWhileTheMutexIsStranded();
    void aViewerThatBlocksBlocksOtherUpdates();
};

void ViewLockTest::holdsTheViewMutexAndGivesItBack()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    {
        const ViewLock lock(*item);
        QVERIFY(!isFree(item->m_viewMutex));
    }
    QVERIFY(isFree(item->m_viewMutex));
}

void ViewLockTest::strandedMutexStaysLocked()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    {
        ViewLock lock(*item);
        lock.strand();
    }
    QVERIFY(!isFree(item->m_viewMutex));
}

void ViewLockTest::strandedMutexBlocksNoLaterLock()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    {
        ViewLock lock(*item);
        lock.strand();
    }
    {
        const ViewLock lock(*item);
    }
    QVERIFY(!isFree(item->m_viewMutex));
}

void ViewLockTest::laterSuccessGivesTheStrandedMutexBack()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    {
        ViewLock lock(*item);
        lock.strand();
    }
    {
        ViewLock lock(*item);
        lock.recover();
    }
    QVERIFY(isFree(item->m_viewMutex));
    {
        ViewLock lock(*item);
        lock.recover();
    }
    QVERIFY(isFree(item->m_viewMutex));
}

void ViewLockTest::strandedTwiceIsGivenBackOnce()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    for (int i = 0; i < 2; ++i) {
        ViewLock lock(*item);
        lock.strand();
    }
    {
        ViewLock lock(*item);
        lock.recover();
    }
    QVERIFY(isFree(item->m_viewMutex));
    const ViewLock lock(*item);
    QVERIFY(!isFree(item->m_viewMutex));
}

void ViewLockTest::exclusionHoldsWhileTheMutexIsStranded()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    {
        ViewLock lock(*item);
        lock.strand();
    }
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    const auto work = [&] {
        for (int i = 0; i < 2000; ++i) {
            const ViewLock lock(*item);
            if (++inside != 1)
                overlapped = true;
            --inside;
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    QVERIFY(!overlapped);
}

void ViewLockTest::itemWithStrandedMutexEndsWithoutAWarning()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    {
        ViewLock lock(*item);
        lock.strand();
    }
    // Qt would warn of a mutex that is destroyed while locked, and the base fails a test on a warning.
    fixture.release(item);
}

void ViewLockTest::updatesGoOnWhileTheMutexIsStranded()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    {
        ViewLock lock(*item);
        lock.strand();
    }
    item->m_context.op = kOperationInput;
    item->update_view(&item->m_context);
    QCOMPARE(fixture.viewer.callCount(), 1);
    QVERIFY(!isFree(item->m_viewMutex));
}

void ViewLockTest::aViewerThatBlocksBlocksOtherUpdates()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ItemFixture::makeReady(item);
    std::atomic<bool> entered{false};
    std::atomic<bool> goOn{false};
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    fixture.viewer.setOnCall([&](ViewContext&) {
        if (++inside != 1)
            overlapped = true;
        entered = true;
        while (!goOn)
            std::this_thread::yield();
        --inside;
    });
    std::thread first([&] { item->update_view(&item->m_context); });
    const bool firstIsIn = waitFor([&] { return entered.load(); });
    std::thread second([&] { item->update_view(&item->m_context); });
    const bool mutexWasFree = isFree(item->m_viewMutex);
    goOn = true;
    first.join();
    second.join();
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(firstIsIn);
    QVERIFY(!mutexWasFree);
    QVERIFY(!overlapped);
    QCOMPARE(fixture.viewer.callCount(), 2);
}

OV3D_TEST_MAIN(ViewLockTest)
#include "viewlock_test.moc"
