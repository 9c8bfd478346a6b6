#include "src/render/viewlock.h"

#include "tests/support/mutexprobe.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

#include <atomic>
#include <thread>

class ViewLockTest : public SingleItemTestBase
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

private:
    /// Ends a use of the view as a failed save does.
    void strandMutex()
    {
        ViewLock lock(*m_item);
        lock.strand();
    }

    /// Ends a use of the view as a successful save does.
    void recoverMutex()
    {
        ViewLock lock(*m_item);
        lock.recover();
    }
};

void ViewLockTest::holdsTheViewMutexAndGivesItBack()
{
    {
        const ViewLock lock(*m_item);
        QVERIFY(!isFree(m_item->m_viewMutex));
    }
    QVERIFY(isFree(m_item->m_viewMutex));
}

void ViewLockTest::strandedMutexStaysLocked()
{
    strandMutex();
    QVERIFY(!isFree(m_item->m_viewMutex));
}

void ViewLockTest::strandedMutexBlocksNoLaterLock()
{
    strandMutex();
    {
        const ViewLock lock(*m_item);
    }
    QVERIFY(!isFree(m_item->m_viewMutex));
}

void ViewLockTest::laterSuccessGivesTheStrandedMutexBack()
{
    strandMutex();
    recoverMutex();
    QVERIFY(isFree(m_item->m_viewMutex));
    recoverMutex();
    QVERIFY(isFree(m_item->m_viewMutex));
}

void ViewLockTest::strandedTwiceIsGivenBackOnce()
{
    strandMutex();
    strandMutex();
    recoverMutex();
    QVERIFY(isFree(m_item->m_viewMutex));
    const ViewLock lock(*m_item);
    QVERIFY(!isFree(m_item->m_viewMutex));
}

void ViewLockTest::exclusionHoldsWhileTheMutexIsStranded()
{
    strandMutex();
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    const auto work = [&] {
        for (int i = 0; i < 2000; ++i) {
            const ViewLock lock(*m_item);
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
    strandMutex();
    // Qt would warn of a mutex that is destroyed while locked, and the base fails a test on a warning.
    m_fixture->release(m_item);
}

void ViewLockTest::updatesGoOnWhileTheMutexIsStranded()
{
    ItemFixture::makeReady(m_item);
    strandMutex();
    update(kOperationInput);
    QCOMPARE(m_fixture->viewer.callCount(), 1);
    QVERIFY(!isFree(m_item->m_viewMutex));
}

void ViewLockTest::aViewerThatBlocksBlocksOtherUpdates()
{
    ItemFixture::makeReady(m_item);
    std::atomic<bool> entered{false};
    std::atomic<bool> goOn{false};
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    m_fixture->viewer.setOnCall([&](ViewContext&) {
        if (++inside != 1)
            overlapped = true;
        entered = true;
        while (!goOn)
            std::this_thread::yield();
        --inside;
    });
    std::thread first([&] { m_item->update_view(&m_item->m_context); });
    const bool firstIsIn = waitFor([&] { return entered.load(); });
    std::thread second([&] { m_item->update_view(&m_item->m_context); });
    const bool mutexWasFree = isFree(m_item->m_viewMutex);
    const bool secondIsIn = waitFor([&] { return inside > 1; }, 200);
    goOn = true;
    first.join();
    second.join();
    m_fixture->viewer.setOnCall(nullptr);
    QVERIFY(firstIsIn);
    QVERIFY(!mutexWasFree);
    QVERIFY(!secondIsIn);
    QVERIFY(!overlapped);
    QCOMPARE(m_fixture->viewer.callCount(), 2);
}

OV3D_TEST_MAIN(ViewLockTest)
#include "viewlock_test.moc"
