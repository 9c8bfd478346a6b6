#include "apps/document/saverthread.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QThread>

#include <new>
#include <semaphore>

using namespace ov3d::apps;

class SaverThreadTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void workRunsOffTheGuiThreadAndDoneOnIt();
    void errorOfTheWorkReachesDone();
    void exceptionBecomesAnError();
    void waitCallsDoneAndNobodyElseDoes();
    void doneMayStartAnother();
    void startWaitsForWhatAnEndHasStarted();
    void errorIsThatOfTheWorkThatHasEnded();
    void destructionWaitsAndCallsDone();
};

void SaverThreadTest::workRunsOffTheGuiThreadAndDoneOnIt()
{
    SaverThread saver;
    QThread* worker = nullptr;
    QThread* ended = nullptr;
    std::binary_semaphore go{0};
    saver.start(
        [&] {
            worker = QThread::currentThread();
            go.acquire();
            return QString();
        },
        [&](const QString&) { ended = QThread::currentThread(); });
    QVERIFY(saver.isRunning());
    bool served = false;
    QMetaObject::invokeMethod(
        this, [&served] { served = true; }, Qt::QueuedConnection);
    QVERIFY(waitFor([&served] { return served; }));
    QVERIFY(!ended); // the event loop has turned while the work runs
    go.release();
    QVERIFY(waitFor([&ended] { return ended != nullptr; }));
    QVERIFY(!saver.isRunning());
    QVERIFY(worker && worker != ended);
    QCOMPARE(ended, QThread::currentThread());
}

void SaverThreadTest::errorOfTheWorkReachesDone()
{
    SaverThread saver;
    QString error;
    saver.start([] { return QStringLiteral("no room"); }, [&error](const QString& reason) { error = reason; });
    saver.wait();
    QCOMPARE(error, QStringLiteral("no room"));
}

void SaverThreadTest::exceptionBecomesAnError()
{
    SaverThread saver;
    QString error;
    saver.start([]() -> QString { throw std::bad_alloc(); }, [&error](const QString& reason) { error = reason; });
    saver.wait();
    QVERIFY(!error.isEmpty());
}

void SaverThreadTest::waitCallsDoneAndNobodyElseDoes()
{
    SaverThread saver;
    int first = 0;
    int second = 0;
    saver.start([] { return QString(); }, [&first](const QString&) { ++first; });
    saver.wait();
    QCOMPARE(first, 1);
    // What the first work has posted must not end the second.
    std::binary_semaphore go{0};
    saver.start(
        [&go] {
            go.acquire();
            return QString();
        },
        [&second](const QString&) { ++second; });
    bool served = false;
    QMetaObject::invokeMethod(
        this, [&served] { served = true; }, Qt::QueuedConnection);
    QVERIFY(waitFor([&served] { return served; }));
    QCOMPARE(second, 0);
    go.release();
    QVERIFY(waitFor([&second] { return second == 1; }));
    QCOMPARE(first, 1);
}

void SaverThreadTest::doneMayStartAnother()
{
    SaverThread saver;
    bool ended = false;
    saver.start(
        [] { return QString(); },
        [&](const QString&) { saver.start([] { return QString(); }, [&ended](const QString&) { ended = true; }); });
    QVERIFY(waitFor([&ended] { return ended; }));
    QVERIFY(!saver.isRunning());
}

void SaverThreadTest::startWaitsForWhatAnEndHasStarted()
{
    SaverThread saver;
    QStringList ended;
    const auto tell = [&ended](const char* which) { return [&ended, which](const QString&) { ended << which; }; };
    saver.start([] { return QString(); },
                [&](const QString&) {
                    ended << "first";
                    saver.start([] { return QString(); }, tell("second"));
                });
    saver.start([] { return QString(); }, tell("third"));
    QVERIFY(waitFor([&saver] { return !saver.isRunning(); }));
    QCOMPARE(ended, (QStringList{"first", "second", "third"}));
}

void SaverThreadTest::errorIsThatOfTheWorkThatHasEnded()
{
    SaverThread saver;
    QString seen;
    saver.start([] { return QStringLiteral("first"); },
                [&](const QString& error) {
                    saver.start([] { return QStringLiteral("second"); }, [](const QString&) {});
                    saver.wait();
                    seen = error;
                });
    QVERIFY(waitFor([&seen] { return !seen.isEmpty(); }));
    QCOMPARE(seen, QStringLiteral("first"));
}

void SaverThreadTest::destructionWaitsAndCallsDone()
{
    bool worked = false;
    bool ended = false;
    {
        SaverThread saver;
        saver.start(
            [&worked] {
                QThread::yieldCurrentThread();
                worked = true;
                return QString();
            },
            [&ended](const QString&) { ended = true; });
    }
    QVERIFY(worked);
    QVERIFY(ended);
}

OV3D_TEST_MAIN(SaverThreadTest)
#include "saverthread_test.moc"
