#include "apps/document/loaderthread.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QThread>

#include <atomic>
#include <memory>
#include <new>
#include <semaphore>

using namespace ov3d::apps;

class LoaderThreadTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void workRunsOffTheGuiThreadAndDoneOnIt();
    void jobsRunOneAfterTheOtherInOrder();
    void errorReachesDone();
    void exceptionBecomesAnError();
    void guiThreadStaysFreeWhileWorkRuns();
    void waitingJobIsDroppedAtOnce();
    void runningJobIsAskedToEndUntilItEnds();
    void cancelOfAnUnknownJobDoesNothing();
    void doneMayAddAJob();
    void destructionWaitsForTheRunningJobAndDropsTheRest();
};

namespace {

/// A job that waits, as a load waits for its first picture, until the load is abandoned.
struct HangingJob
{
    std::atomic<bool> begun{false};
    std::binary_semaphore abandoned{0};
    std::atomic<int> wishes{0};

    void abandon()
    {
        // The first wishes come before the run has begun, and nobody hears them.
        if (++wishes == 3)
            abandoned.release();
    }
    QString run()
    {
        begun = true;
        abandoned.acquire();
        return {};
    }
};

} // namespace

void LoaderThreadTest::workRunsOffTheGuiThreadAndDoneOnIt()
{
    LoaderThread loader([] {});
    QThread* worker = nullptr;
    QThread* ended = nullptr;
    loader.add({[&worker](const auto&) {
                    worker = QThread::currentThread();
                    return QString();
                },
                [&ended](const QString&, bool) { ended = QThread::currentThread(); }});
    loader.finishAll();
    QVERIFY(worker && worker != QThread::currentThread());
    QCOMPARE(ended, QThread::currentThread());
}

void LoaderThreadTest::jobsRunOneAfterTheOtherInOrder()
{
    LoaderThread loader([] {});
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    QStringList order;
    for (int i = 0; i < 20; ++i) {
        loader.add({[&](const auto&) {
                        overlapped = overlapped || ++running != 1;
                        QThread::yieldCurrentThread();
                        --running;
                        return QString();
                    },
                    [&order, i](const QString&, bool) { order << QString::number(i); }});
    }
    QCOMPARE(loader.jobsLeft(), 20);
    loader.finishAll();
    QVERIFY(!overlapped);
    QCOMPARE(order.join(QLatin1Char(' ')), QStringLiteral("0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19"));
}

void LoaderThreadTest::errorReachesDone()
{
    LoaderThread loader([] {});
    QString told;
    loader.add({[](const auto&) { return QStringLiteral("no such file"); },
                [&told](const QString& error, bool) { told = error; }});
    loader.finishAll();
    QCOMPARE(told, QStringLiteral("no such file"));
}

void LoaderThreadTest::exceptionBecomesAnError()
{
    LoaderThread loader([] {});
    QString told;
    loader.add({[](const auto&) -> QString { throw std::bad_alloc(); },
                [&told](const QString& error, bool) { told = error; }});
    loader.finishAll();
    QVERIFY(!told.isEmpty());
}

void LoaderThreadTest::guiThreadStaysFreeWhileWorkRuns()
{
    LoaderThread loader([] {});
    std::binary_semaphore goOn{0};
    bool ended = false;
    loader.add({[&goOn](const auto&) {
                    goOn.acquire();
                    return QString();
                },
                [&ended](const QString&, bool) { ended = true; }});
    bool heard = false;
    QMetaObject::invokeMethod(
        this, [&heard] { heard = true; }, Qt::QueuedConnection);
    QVERIFY(waitFor([&heard] { return heard; }));
    QVERIFY(!ended);
    goOn.release();
    QVERIFY(waitFor([&ended] { return ended; }));
}

void LoaderThreadTest::waitingJobIsDroppedAtOnce()
{
    HangingJob hanging;
    LoaderThread loader([&hanging] { hanging.abandon(); });
    loader.add({[&hanging](const auto&) { return hanging.run(); }, [](const QString&, bool) {}});
    bool ran = false;
    bool cancelled = false;
    const auto id = loader.add({[&ran](const auto&) {
                                    ran = true;
                                    return QString();
                                },
                                [&cancelled](const QString&, bool isCancelled) { cancelled = isCancelled; }});
    loader.cancel(id);
    QVERIFY(cancelled);
    QCOMPARE(loader.jobsLeft(), 1);
    QCOMPARE(hanging.wishes.load(), 0);
    loader.cancelAll();
    loader.finishAll();
    QVERIFY(!ran);
}

void LoaderThreadTest::runningJobIsAskedToEndUntilItEnds()
{
    HangingJob hanging;
    LoaderThread loader([&hanging] { hanging.abandon(); });
    bool wasCancelled = false;
    bool sawFlag = false;
    const auto id = loader.add({[&](const std::atomic<bool>& cancelled) {
                                    const QString error = hanging.run();
                                    sawFlag = cancelled;
                                    return error;
                                },
                                [&wasCancelled](const QString&, bool cancelled) { wasCancelled = cancelled; }});
    QVERIFY(waitFor([&hanging] { return hanging.begun.load(); }));
    loader.cancel(id);
    loader.finishAll();
    QVERIFY(wasCancelled);
    QVERIFY(sawFlag);
    QVERIFY(hanging.wishes >= 3);
}

void LoaderThreadTest::cancelOfAnUnknownJobDoesNothing()
{
    LoaderThread loader([] { qWarning("nothing to abandon"); });
    bool cancelled = true;
    const auto id = loader.add({[](const auto&) { return QString(); },
                                [&cancelled](const QString&, bool isCancelled) { cancelled = isCancelled; }});
    loader.cancel(id + 1);
    loader.finishAll();
    loader.cancel(id);
    QVERIFY(!cancelled);
}

void LoaderThreadTest::doneMayAddAJob()
{
    LoaderThread loader([] {});
    bool second = false;
    loader.add(
        {[](const auto&) { return QString(); },
         [&](const QString&, bool) {
             loader.add({[](const auto&) { return QString(); }, [&second](const QString&, bool) { second = true; }});
         }});
    loader.finishAll();
    QVERIFY(second);
}

void LoaderThreadTest::destructionWaitsForTheRunningJobAndDropsTheRest()
{
    HangingJob hanging;
    QStringList ends;
    auto loader = std::make_unique<LoaderThread>([&hanging] { hanging.abandon(); });
    const auto end = [&ends](const char* name) {
        return [&ends, name](const QString&, bool cancelled) {
            ends << QLatin1String(name) + (cancelled ? QLatin1String(" cancelled") : QLatin1String(" done"));
        };
    };
    loader->add({[&hanging](const auto&) { return hanging.run(); }, end("first")});
    loader->add({[](const auto&) { return QString(); }, end("second")});
    QVERIFY(waitFor([&hanging] { return hanging.begun.load(); }));
    loader.reset();
    QCOMPARE(ends, QStringList({QStringLiteral("second cancelled"), QStringLiteral("first cancelled")}));
}

OV3D_TEST_MAIN(LoaderThreadTest)
#include "loaderthread_test.moc"
