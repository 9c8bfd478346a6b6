#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/session/limits.h"
#include "viewer/session/worklimit.h"

#include <QTest>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ov3d::session;
using namespace std::chrono_literals;

namespace {

const WorkLimit::Clock::time_point kBegin(1h);

/// A child process that keeps a processor busy until it is killed.
class BusyChild
{
public:
    BusyChild()
        : m_id(fork())
    {
        if (m_id != 0)
            return;
        alarm(100);
        volatile unsigned work = 0;
        for (;;)
            work = work + 1;
    }
    ~BusyChild() { end(); }
    BusyChild(const BusyChild&) = delete;
    BusyChild& operator=(const BusyChild&) = delete;

    [[nodiscard]] pid_t id() const { return m_id; }

    void end()
    {
        if (m_id <= 0)
            return;
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
        m_id = 0;
    }

private:
    pid_t m_id;
};

} // namespace

/// When a renderer has had its time: told by numbers, without a clock.
class WorkLimitTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void workEndsByTheClockAndByTheProcessor_data()
    {
        QTest::addColumn<int>("wall"); // tenths of a second, of a limit of ten seconds
        QTest::addColumn<int>("used");
        QTest::addColumn<int>("passed"); // seconds; 0 for not over
        QTest::newRow("nothing is over before the limit") << 99 << 99 << 0;
        QTest::newRow("several processors do not shorten the limit") << 99 << 800 << 0;
        QTest::newRow("a processor of its own: over at the limit") << 100 << 100 << 10;
        QTest::newRow("several processors: over at the limit") << 100 << 800 << 10;
        QTest::newRow("no work at all: it waits") << 100 << 0 << 10;
        QTest::newRow("next to no work: it waits") << 100 << 1 << 10;
        QTest::newRow("a share of a processor: it goes on") << 100 << 3 << 0;
        QTest::newRow("most of a processor: it goes on") << 105 << 99 << 0;
        QTest::newRow("the limit's worth of work, later") << 250 << 100 << 10;
        QTest::newRow("four limits are the end") << 400 << 50 << 40;
        QTest::newRow("a little before that, they are not") << 399 << 50 << 0;
    }

    void workEndsByTheClockAndByTheProcessor()
    {
        QFETCH(int, wall);
        QFETCH(int, used);
        QFETCH(int, passed);
        // Neither the clock nor the processor's account begins at zero.
        WorkLimit limit(10s, kBegin, 7s);
        QCOMPARE(limit.isOver(kBegin + wall * 100ms, 7s + used * 100ms), passed != 0);
        if (passed != 0)
            QCOMPARE(limit.passed(), std::chrono::milliseconds(passed * 1s));
    }

    void waitIsFoundWheneverItBegins()
    {
        WorkLimit limit(10s, kBegin, 0s);
        QVERIFY(!limit.isOver(kBegin + 10s, 3s));
        QVERIFY(!limit.isOver(kBegin + 19s, 3s));
        QVERIFY(limit.isOver(kBegin + 20s, 3s));
        QCOMPARE(limit.passed(), 10000ms);
    }

    void workAfterAWaitIsAllowed()
    {
        WorkLimit limit(10s, kBegin, 0s);
        QVERIFY(!limit.isOver(kBegin + 10s, 3s));
        QVERIFY(!limit.isOver(kBegin + 19s, 3s));
        QVERIFY(!limit.isOver(kBegin + 20s, 4s));
        QVERIFY(!limit.isOver(kBegin + 30s, 5s));
    }

    void nextLookIsNeverBehind()
    {
        WorkLimit limit(10s, kBegin, 0s);
        QVERIFY(limit.nextLook() == kBegin + 10s);
        for (auto time = 10s; time < 40s; time += 1s) {
            const auto now = kBegin + time;
            QVERIFY(!limit.isOver(now, time / 5));
            QVERIFY(limit.nextLook() > now && limit.nextLook() <= now + 1s);
        }
        QVERIFY(limit.nextLook() == kBegin + 39500ms);
        QVERIFY(!limit.isOver(kBegin + 39900ms, 8s));
        QVERIFY2(limit.nextLook() == kBegin + 40s, "the end is not slept through");
    }

    void withoutALimitNothingIsOver()
    {
        WorkLimit limit;
        QVERIFY(limit.nextLook() == WorkLimit::Clock::time_point::max());
        QVERIFY(!limit.isOver(kBegin + 10000h, 10000h));
    }

    void largerPicturesGetMoreTime_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("seconds");
        QTest::newRow("nothing") << 0 << 0 << 0;
        QTest::newRow("a size that cannot be") << -5 << 100000 << 0;
        QTest::newRow("an item as it begins") << 1280 << 960 << 0;
        QTest::newRow("nearly two of them") << 2559 << 960 << 0;
        QTest::newRow("two of them") << 2560 << 960 << 1;
        QTest::newRow("the largest item") << 8192 << 8192 << 53;
        QTest::newRow("more than there is") << 2147483647 << 2147483647 << 3600;
    }

    void largerPicturesGetMoreTime()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, seconds);
        QCOMPARE(extraForPicture(width, height), std::chrono::milliseconds(seconds * 1s));
    }

    void meterCountsOneProcessAfterTheOther()
    {
        ProcessorMeter meter;
        QVERIFY(meter.read() == 0s);
        BusyChild first;
        QVERIFY2(waitFor([&] { return used(first) > 50ms; }), "it has worked before it is followed");
        meter.follow(first.id());
        QVERIFY(waitFor([&] { return meter.read() > 30ms; }));
        QVERIFY2(meter.read() < used(first), "what came before does not count");
        const auto before = meter.read();
        first.end();
        QVERIFY2(meter.read() == meter.read(), "an account that is gone stands still");
        BusyChild second;
        meter.follow(second.id());
        QVERIFY(meter.read() >= before);
        QVERIFY(waitFor([&] { return meter.read() > before + 30ms; }));
        meter.follow(0);
        const auto whole = meter.read();
        QVERIFY(waitFor([&] { return used(second) > whole + 50ms; }));
        QVERIFY(meter.read() == whole);
    }

    void stoppedProcessUsesNothing()
    {
        BusyChild child;
        ProcessorMeter meter;
        meter.follow(child.id());
        QVERIFY(waitFor([&] { return meter.read() > 30ms; }));
        kill(child.id(), SIGSTOP);
        int status = 0;
        QCOMPARE(waitpid(child.id(), &status, WUNTRACED), child.id());
        const auto before = meter.read();
        QVERIFY(!waitFor([&] { return meter.read() != before; }, 100));
        kill(child.id(), SIGCONT);
        QVERIFY(waitFor([&] { return meter.read() > before; }));
    }

private:
    static std::chrono::nanoseconds used(const BusyChild& child)
    {
        clockid_t clock = 0;
        timespec time = {};
        clock_getcpuclockid(child.id(), &clock);
        clock_gettime(clock, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
};

OV3D_TEST_MAIN(WorkLimitTest)
#include "worklimit_test.moc"
