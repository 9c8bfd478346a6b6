#include "tests/support/testmain.h"
#include "tests/unit/viewer/requestedpicture.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/ov3dviewer.h"
#include "viewer/session/rendererpool.h"
#include "viewer/session/rendererprocess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <signal.h>

using namespace std::chrono_literals;

namespace {

bool isCard(const TakenFrame& frame)
{
    return frame.width > 0 && !frame.isFinal() && !frame.isDraft();
}

bool isStopped(int process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    return status.open(QIODevice::ReadOnly) && status.readAll().contains("State:\tT");
}

} // namespace

/// What a session makes of renderers that lack processors or disk, and of those that compute or wait for ever.
class SessionLimitsTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        SessionTestBase::init();
        qputenv("OV3D_RENDERER", WORKING_RENDERER);
        qunsetenv("MESA_SHADER_CACHE_DISABLE");
    }

    void endlessWorkAndEndlessWaitEndInACard_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("waits while it reads") << "sleepload.glb"
                                              << "to read";
        QTest::newRow("computes while it reads") << "spinload.glb"
                                                 << "to read";
        QTest::newRow("waits while it draws") << "sleeppicture.glb"
                                              << "to draw";
        QTest::newRow("computes while it draws") << "spinpicture.glb"
                                                 << "to draw";
    }

    void endlessWorkAndEndlessWaitEndInACard()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        limitLoads(300ms);
        FakeHost host(m_fixture->model(name));
        QElapsedTimer timer;
        timer.start();
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY2(timer.elapsed() >= 300, "not before its time is over");
        QVERIFY(isCard(host.take()));
        const QString card = m_fixture->reasonOf(QStringLiteral("card"));
        QVERIFY2(card.startsWith(QStringLiteral("took longer than 1 second ")) && card.endsWith(reason),
                 qPrintable(card));
        QVERIFY(allRenderersEnd());
    }

    /// The limit passes on the clock long before the renderer has had that much of a processor.
    void renderersThatGetLittleOfAProcessorGetMoreTime_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("while they read") << "starveload.glb";
        QTest::newRow("while they draw") << "starvepicture.glb";
    }

    void renderersThatGetLittleOfAProcessorGetMoreTime()
    {
        QFETCH(QString, name);
        limitLoads(1000ms, 0ms);
        const QString path = m_fixture->model(name);
        FakeHost host(path);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY2(host.take().isDraft(), qPrintable(m_fixture->reasonOf(QStringLiteral("card"))));
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 1);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 0);
    }

    void rendererThatIsStoppedForAWhileGoesOn()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        const int renderer = ViewerFixture::rendererOf(path);
        kill(renderer, SIGSTOP);
        QVERIFY(waitFor([&] { return isStopped(renderer); }));
        host.resize(100, 48);
        QVERIFY(!host.waitForFrame(300));
        kill(renderer, SIGCONT);
        QCOMPARE(host.take().width, 100);
        QCOMPARE(ViewerFixture::rendererOf(path), renderer);
    }

    void rendererThatStaysStoppedIsEnded()
    {
        limitLoads(300ms);
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        const int renderer = ViewerFixture::rendererOf(path);
        kill(renderer, SIGSTOP);
        QVERIFY(waitFor([&] { return isStopped(renderer); }));
        host.resize(100, 48);
        QVERIFY(isCard(host.take()));
        QVERIFY(allRenderersEnd());
    }

    void rendererThatAFullDiskKillsIsFollowedByOneWithoutTheShaderCache()
    {
        const QString path = m_fixture->model(QStringLiteral("fulldisk.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        const QStringList loads = ViewerFixture::log(path).filter(QStringLiteral("load"));
        QCOMPARE(loads.size(), 2);
        QVERIFY(loads[0].endsWith(QStringLiteral("cache=1")));
        QVERIFY2(loads[1].endsWith(QStringLiteral("textures=1 cache=0")), "the textures are not to blame");
        QVERIFY(m_fixture->reasonOf(QStringLiteral("restarted")).contains(QStringLiteral("shader cache")));
        QCOMPARE(m_fixture->reasonOf(QStringLiteral("shown")), QString());
        // The disk is as full for the next model.
        const QString next = m_fixture->model(QStringLiteral("fulldisk2.glb"));
        FakeHost nextHost(next);
        QVERIFY(nextHost.startAndSettle().isFinal());
        QCOMPARE(ViewerFixture::count(next, QStringLiteral("load")), 1);
    }

    void spareRendererWithTheShaderCacheIsNotTakenAfterwards()
    {
        ov3d::session::RendererPool::instance().prepare();
        const auto other = ov3d::session::RendererProcess::start();
        kill(other->id(), SIGBUS);
        QVERIFY(waitFor([&] { return !other->isAlive(); }));
        QVERIFY(other->finish().by_shader_cache);
        const QString path = m_fixture->model(QStringLiteral("fulldisk.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 1);
    }

    void pictureWithoutASessionComesFromARendererWithoutTheShaderCache()
    {
        const QString path = m_fixture->model(QStringLiteral("fulldisk.glb"));
        RequestedPicture picture(200, 150);
        picture.draw(QJsonDocument(QJsonObject{{QStringLiteral("model"), path}}).toJson());
        QVERIFY(!picture.isCard());
        const QStringList loads = ViewerFixture::log(path).filter(QStringLiteral("load"));
        QCOMPARE(loads.size(), 2);
        QVERIFY(loads[1].endsWith(QStringLiteral("textures=1 cache=0")));
    }

    void filesAreListedByARendererWithoutTheShaderCache()
    {
        const QString path = m_fixture->model(QStringLiteral("fulldisk.glb"));
        QVERIFY(ov3dViewerListFiles(QFile::encodeName(path).constData(), {}));
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
        const QString damaged = m_fixture->model(QStringLiteral("damagedfile.glb"));
        QVERIFY(!ov3dViewerListFiles(QFile::encodeName(damaged).constData(), {}));
        QCOMPARE(ViewerFixture::count(damaged, QStringLiteral("load")), 1);
    }

    void hostsOwnWishIsKept()
    {
        qputenv("MESA_SHADER_CACHE_DISABLE", "true");
        const QString path = m_fixture->model(QStringLiteral("fulldisk.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 1);
        qunsetenv("MESA_SHADER_CACHE_DISABLE");
    }

    void hostsWishForTheCacheIsOverruledByAFullDisk()
    {
        qputenv("MESA_SHADER_CACHE_DISABLE", "false");
        const QString path = m_fixture->model(QStringLiteral("fulldisk.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
        qunsetenv("MESA_SHADER_CACHE_DISABLE");
    }

    void modelThatKillsWithoutTheShaderCacheTooEndsInACard()
    {
        const QString path = m_fixture->model(QStringLiteral("damagedfile.glb"));
        FakeHost host(path);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(isCard(host.take()));
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("(signal 7) twice")));
    }
};

OV3D_TEST_MAIN(SessionLimitsTest)
#include "sessionlimits_test.moc"
