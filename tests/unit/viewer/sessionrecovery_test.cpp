#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QFile>

#include <signal.h>

using namespace std::chrono_literals;

/// A renderer that is lost comes back by itself, but not for ever.
class SessionRecoveryTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pictureComesBackAfterTheRendererWasKilled()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        host.mouse(kMouseWheel, 20, 20, 0);
        const TakenFrame before = host.takeAll().back();
        const int renderer = ViewerFixture::rendererOf(path);
        kill(renderer, SIGKILL);
        const TakenFrame first = host.take();
        QCOMPARE(first.pixels, before.pixels);
        QCOMPARE(host.takeAll().size(), std::size_t{1});
        QVERIFY(ViewerFixture::rendererOf(path) != renderer);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("restarted")), 1);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("shown")), 1);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 0);
        QCOMPARE(childProcesses().size(), 1);
    }

    void requestDuringTheRecoveryIsNotLost()
    {
        const QString path = m_fixture->model(QStringLiteral("slowload.glb"));
        FakeHost host(path);
        host.startAndSettle();
        kill(ViewerFixture::rendererOf(path), SIGKILL);
        QVERIFY(waitForCount(path, QStringLiteral("load"), 2));
        host.resize(100, 48);
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QCOMPARE(frames.back().width, 100);
    }

    void crashAtOnePictureIsFollowedByAnotherTry()
    {
        const QString path = m_fixture->model(QStringLiteral("crashpicturelateronce.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        host.mouse(kMouseWheel, 20, 20, 0);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(!frames.empty() && frames.back().isFinal());
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
    }

    void crashAtEachRedrawEndsInACardAndNoLoop()
    {
        const QString path = m_fixture->model(QStringLiteral("crashpicturelater.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        host.mouse(kMouseWheel, 20, 20, 0);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(!frames.empty());
        QVERIFY(!frames.back().isFinal() && !frames.back().isDraft());
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 1);
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
        QVERIFY(allRenderersEnd());
        QVERIFY(!host.waitForFrame(300));
    }

    void otherSettingsLeadAwayFromTheCardThatSettingsCaused()
    {
        FakeHost host(m_fixture->model(QStringLiteral("crashwireframe.glb")));
        const TakenFrame shown = host.startAndSettle();
        host.material.wireframe = true;
        host.call(kOperationRedraw);
        QVERIFY(!host.takeAll().back().isFinal());
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 1);
        host.material.wireframe = false;
        host.call(kOperationRedraw);
        QCOMPARE(host.takeAll().back().pixels, shown.pixels);
    }

    void rendererThatDiesAtRestAgainAndAgainIsGivenUp()
    {
        const QString path = m_fixture->model(QStringLiteral("dieatrest.glb"));
        FakeHost host(path);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        // A loss at rest makes the session owe a picture again, so it may seem to be at rest in between.
        const auto isBusy = [] { return ov3dViewerPending() != 0 || !childProcesses().isEmpty(); };
        QVERIFY(waitFor(
            [&] {
                host.takeAll(20000);
                return !isBusy() && !waitFor(isBusy, 300);
            },
            20000));
        QVERIFY(ViewerFixture::count(path, QStringLiteral("load")) <= 7);
    }

    void hungPictureIsKilledAndEndsInACard()
    {
        limitLoads(300ms);
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        kill(ViewerFixture::rendererOf(path), SIGSTOP);
        host.mouse(kMouseWheel, 20, 20, 0);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(!frames.empty() && !frames.back().isFinal());
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("to draw")));
        QVERIFY(allRenderersEnd());
    }

    void rendererIsGivenBackAtRestAndComesBackWithTheNextRequest()
    {
        limitRest(300ms);
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        const TakenFrame first = host.startAndSettle();
        QVERIFY(allRenderersEnd());
        QCOMPARE(ov3dViewerPending(), 0);
        QVERIFY(!host.hasFrame());
        host.call(kOperationRedraw);
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QCOMPARE(frames.back().pixels, first.pixels);
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("restarted")), 0);
    }

    void rendererIsNotGivenBackWhileAFrameWaits()
    {
        limitRest(100ms);
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(!waitFor([] { return childProcesses().size() != 1; }, 500));
        QVERIFY(host.take().isDraft());
        QVERIFY(host.waitForFrame());
        QVERIFY(host.take().isFinal());
    }

    void fileThatVanishedEndsInACardWhenItIsNeededAgain()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        QVERIFY(QFile::remove(path));
        kill(ViewerFixture::rendererOf(path), SIGKILL);
        QVERIFY(!host.take().isFinal());
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("does not exist")));
    }

    void hostThatWaitsForAllItsChildrenDoesNotDisturb()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        struct sigaction ignore = {};
        struct sigaction before = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGCHLD, &ignore, &before);
        kill(ViewerFixture::rendererOf(path), SIGKILL);
        QVERIFY(host.take().isFinal());
        host.stop();
        QVERIFY(host.waitForThread());
        struct sigaction after = {};
        sigaction(SIGCHLD, &before, &after);
        QVERIFY2(after.sa_handler == SIG_IGN, "the host's handling is left alone");
    }
};

OV3D_TEST_MAIN(SessionRecoveryTest)
#include "sessionrecovery_test.moc"
