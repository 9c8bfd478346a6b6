#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QElapsedTimer>

#include <signal.h>

#include <algorithm>
#include <cstring>

using namespace std::chrono_literals;

/// Requests and pictures after the first draw.
class SessionPicturesTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pictureAtRestIsDeliveredTwice()
    {
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{3});
        QVERIFY2(frames[0].isDraft(), "the first picture is there soon, and refined at once");
        QVERIFY(frames[1].isFinal());
        QCOMPARE(frames[1].pixels, frames[2].pixels);
        QVERIFY2(!host.waitForFrame(400), "and not a third time");
    }

    void frameIsWrittenOnlyWhenTheBufferIsFree()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        // The first frame still lies there; nothing may be written over it.
        std::fill(host.buffer().begin(), host.buffer().end(), static_cast<unsigned char>(0xAB));
        host.mouse(kMouseWheel, 10, 10, 0);
        QVERIFY(waitForCount(path, QStringLiteral("render"), 2));
        QVERIFY(!waitFor([&] { return host.buffer()[0] != 0xAB; }, 300));
        storeRelease(host.context().frame_width, kNoFrame);
        QVERIFY(host.waitForFrame());
        QVERIFY(host.buffer()[0] == 200);
    }

    void synchronousCallUpdatesTheStatusAndNeverWaits()
    {
        limitLoads(1h); // a call that waits for a picture does not return
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        const int renderer = ViewerFixture::rendererOf(path);
        kill(renderer, SIGSTOP);
        host.mouse(kMouseButtonDown, 10, 10);
        for (int x = 11; x < 60; ++x) {
            const OV3DOBJECT::SceneStatus before = host.context().scene_status;
            host.mouse(kMouseDrag, x, 20);
            QVERIFY(std::memcmp(&before, &host.context().scene_status, sizeof before) != 0);
        }
        host.mouse(kMouseButtonUp, 60, 20);
        QVERIFY(!host.hasFrame());
        QCOMPARE(ov3dViewerPending(), 1);
        kill(renderer, SIGCONT);
        // What the renderer was at when it was halted may come first.
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(!frames.empty() && frames.back().isFinal());
    }

    void newestRequestWinsAndOlderOnesAreNotDrawn()
    {
        const QString path = m_fixture->model(QStringLiteral("slowpicture.glb"));
        FakeHost host(path);
        host.startAndSettle();
        const int before = ViewerFixture::count(path, QStringLiteral("render"));
        for (int i = 0; i < 30; ++i)
            host.mouse(kMouseWheel, 10 + i, 10, 0);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(frames.size() >= 2);
        const int drawn = ViewerFixture::count(path, QStringLiteral("render")) - before;
        QVERIFY2(drawn < 15, qPrintable(QString::number(drawn)));

        // What came last is what the last status looks like.
        host.call(kOperationRestore);
        const std::vector<TakenFrame> again = host.takeAll();
        QVERIFY(!again.empty());
        QCOMPARE(again.back().view(), frames.back().view());
    }

    void gestureIsDrawnInDraftAndRefinedWhenTheButtonGoesUp()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.mouse(kMouseButtonDown, 10, 10);
        host.takeAll();
        host.mouse(kMouseDrag, 30, 10);
        QVERIFY(host.take().isDraft());
        host.mouse(kMouseDrag, 40, 10);
        host.mouse(kMouseButtonUp, 40, 10);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(frames.size() >= 2);
        QVERIFY(frames.back().isFinal() && frames[frames.size() - 2].isFinal());
    }

    void draftIsRefinedWhenTheHandRests()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.mouse(kMouseButtonDown, 10, 10);
        host.takeAll();
        host.mouse(kMouseDrag, 30, 10);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(frames.size() >= 3);
        QVERIFY(frames.front().isDraft());
        QVERIFY(frames.back().isFinal());
        QCOMPARE(frames.back().view(), frames.front().view());
    }

    void requestsAtRestDeliverThePictureTwiceAgainWithoutAChange_data()
    {
        QTest::addColumn<int>("op");
        QTest::newRow("settings") << int(kOperationRedraw);
        QTest::newRow("restore") << int(kOperationRestore);
    }

    void requestsAtRestDeliverThePictureTwiceAgainWithoutAChange()
    {
        QFETCH(int, op);
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        const TakenFrame first = host.startAndSettle();
        const int drawn = ViewerFixture::count(path, QStringLiteral("render"));
        host.call(op);
        QCOMPARE(ov3dViewerPending(), 1);
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QCOMPARE(frames.back().pixels, first.pixels);
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("render")), drawn);
    }

    void buttonUpDeliversThePictureTwiceAgainWithoutAChange()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.mouse(kMouseButtonDown, 10, 10);
        host.takeAll();
        host.mouse(kMouseButtonUp, 10, 10);
        QCOMPARE(host.takeAll().size(), std::size_t{2});
    }

    void changedSettingsReachTheRenderer()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        host.material.wireframe = true;
        host.call(kOperationRedraw);
        host.takeAll();
        QVERIFY(ViewerFixture::log(path).last().contains(QStringLiteral("wireframe")));
    }

    void restoredStatusGivesTheSamePicture()
    {
        FakeHost host(m_fixture->plainModel());
        const TakenFrame first = host.startAndSettle();
        const OV3DOBJECT::SceneStatus saved = host.context().scene_status;
        host.mouse(kMouseWheel, 20, 20, 0);
        host.takeAll();
        QVERIFY(std::memcmp(&saved, &host.context().scene_status, sizeof saved) != 0);
        host.context().scene_status = saved;
        host.call(kOperationRestore);
        QCOMPARE(std::memcmp(&saved, &host.context().scene_status, sizeof saved), 0);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(!frames.empty());
        QCOMPARE(frames.back().pixels, first.pixels);
    }

    void sizeChangeIsNoticedWithoutACall()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.resize(80, 44);
        QCOMPARE(ov3dViewerPending(), 1);
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QCOMPARE(frames.back().width, 80);
        QCOMPARE(frames.back().height, 44);
    }

    void sizeChangeIsNoticedByTheWatcherAlone()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.resize(72, 44);
        // Nothing of the viewer is called here: its own thread has to look.
        QVERIFY(host.waitForFrame());
        QCOMPARE(host.take().width, 72);
    }

    void statusIsNotWrittenByASizeChange()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        std::memset(&host.context().scene_status, 0x11, sizeof(OV3DOBJECT::SceneStatus));
        host.resize(30, 90);
        host.takeAll();
        const auto* bytes = reinterpret_cast<const unsigned char*>(&host.context().scene_status);
        QVERIFY(std::all_of(bytes, bytes + sizeof(OV3DOBJECT::SceneStatus), [](unsigned char b) { return b == 0x11; }));
    }

    void sizesThatCannotBeMeantAreIgnored()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.resize(0, -7);
        QVERIFY(!host.waitForFrame(300));
        host.resize(2000000000, 2000000000);
        QVERIFY(!host.waitForFrame(300));
        host.call(kOperationRedraw);
        QCOMPARE(host.takeAll().back().width, 64);
    }

    void frameNeverExceedsTheBufferOfTheStart()
    {
        FakeHost host(m_fixture->plainModel(), 64, 48);
        host.startAndSettle();
        host.resize(640, 480);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(!frames.empty());
        const TakenFrame& frame = frames.back();
        QVERIFY(frame.pixels.size() <= 64 * 48 * 8);
        QVERIFY(frame.pixels.size() > 64 * 48 * 8 * 9 / 10);
        QVERIFY(std::abs(frame.width * 3 - frame.height * 4) <= 8);
        QVERIFY(host.isBufferIntact());
    }

    void cardFollowsSizeChanges()
    {
        FakeHost host(m_fixture->model(QStringLiteral("failed.glb")));
        host.startAndSettle();
        host.resize(90, 60);
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QCOMPARE(frames.back().width, 90);
        QCOMPARE(frames.back().height, 60);
    }

    void cardIsNotSentAgainForGestures()
    {
        FakeHost host(m_fixture->model(QStringLiteral("failed.glb")));
        host.startAndSettle();
        host.mouse(kMouseButtonDown, 10, 10);
        host.mouse(kMouseDrag, 40, 20);
        QVERIFY(!host.waitForFrame(200));
        host.mouse(kMouseButtonUp, 40, 20);
        QCOMPARE(host.takeAll().size(), std::size_t{2});
    }

    void turntableTurnsAndOwesNothing()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        host.view.view_type = 5;
        host.call(kOperationApplyViewType);
        const OV3DOBJECT::SceneStatus stored = host.context().scene_status;
        QList<int> views;
        QElapsedTimer timer;
        timer.start();
        while (views.size() < 5 && timer.elapsed() < 5000)
            views << host.take().view();
        QVERIFY2(QSet<int>(views.begin(), views.end()).size() >= 3, "it turns by itself");
        QVERIFY(waitFor([&] {
            if (host.hasFrame())
                host.take();
            return ov3dViewerPending() == 0;
        }));
        QVERIFY2(std::memcmp(&stored, &host.context().scene_status, sizeof stored) == 0,
                 "the stored status waits for the next call");
        host.call(kOperationInput);
        QVERIFY(std::memcmp(&stored, &host.context().scene_status, sizeof stored) != 0);
        host.view.view_type = 1;
        host.call(kOperationApplyViewType);
        QCOMPARE(ov3dViewerPending(), 1);
        const std::vector<TakenFrame> frames = host.takeAll();
        QVERIFY(frames.size() >= 2);
        QCOMPARE(frames.back().pixels, frames[frames.size() - 2].pixels);
    }

    void turntableRestsWhileTheHostTakesNothing()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        host.view.view_type = 5;
        host.call(kOperationApplyViewType);
        QVERIFY(host.waitForFrame());
        // One more may be on its way, and one be kept for the time when the host takes this one.
        const int drawn = ViewerFixture::count(path, QStringLiteral("render")) + 2;
        QVERIFY(!waitFor([&] { return ViewerFixture::count(path, QStringLiteral("render")) > drawn; }, 800));
    }

    void unknownOperationIsAnsweredAsFailedAtOnce()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.context().result = kPending;
        host.call(99);
        QCOMPARE(host.context().result, kFailed);
        host.context().result = kPending;
        host.call(kOperationRedraw);
        QCOMPARE(host.context().result, kPending);
    }

    void callForAnAddressWithoutASessionDoesNothing()
    {
        FakeHost host(m_fixture->plainModel());
        ViewContext before;
        std::memcpy(static_cast<void*>(&before), &host.context(), sizeof before);
        before.op = kOperationRedraw;
        host.call(kOperationRedraw);
        QCOMPARE(std::memcmp(&before, &host.context(), sizeof before), 0);
        ov3dViewer(0, nullptr, nullptr);
        ov3dViewer(1, nullptr, nullptr);
        ov3dViewer(-3, nullptr, &host.context());
    }

    void pendingEndsWhenTheSecondFrameAtRestIsTaken()
    {
        FakeHost host(m_fixture->plainModel());
        host.start();
        QCOMPARE(ov3dViewerPending(), 1);
        QVERIFY(host.waitForFirstDraw());
        for (int frame = 0; frame < 2; ++frame) {
            host.take();
            QVERIFY(host.waitForFrame());
            QCOMPARE(ov3dViewerPending(), 1);
        }
        host.take();
        QCOMPARE(ov3dViewerPending(), 0);
    }

    void hostThatTakesNothingKeepsTheSessionPendingUntilItIsStopped()
    {
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(!waitFor([] { return ov3dViewerPending() != 1; }, 300));
        host.stop();
        QCOMPARE(ov3dViewerPending(), 0);
    }
};

OV3D_TEST_MAIN(SessionPicturesTest)
#include "sessionpictures_test.moc"
