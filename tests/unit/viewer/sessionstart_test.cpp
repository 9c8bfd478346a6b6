#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <signal.h>

#include <algorithm>
#include <cstring>

using namespace std::chrono_literals;

namespace {

bool isCard(const TakenFrame& frame)
{
    return frame.width > 0 && !frame.isFinal() && !frame.isDraft();
}

} // namespace

/// From the start of a run to its first picture.
class SessionStartTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void startEndsInAFirstFrameAndFirstDraw()
    {
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY2(host.hasFrame(), "the first frame is there before first_draw says so");
        const TakenFrame frame = host.take();
        QCOMPARE(frame.width, 64);
        QCOMPARE(frame.height, 48);
        QVERIFY(frame.isDraft());
        QCOMPARE(frame.pixels[1], char(64));
    }

    void sceneStatusIsWrittenBeforeTheFirstDraw()
    {
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        const double* matrix = host.context().scene_status.camera_to_world;
        QVERIFY(std::any_of(matrix, matrix + 16, [](double value) { return value != 0; }));
    }

    void savedViewWinsOverTheFit()
    {
        OV3DOBJECT::SceneStatus saved;
        {
            FakeHost host(m_fixture->plainModel());
            host.startAndSettle();
            host.mouse(kMouseButtonDown, 10, 10);
            host.mouse(kMouseDrag, 40, 20);
            host.mouse(kMouseButtonUp, 40, 20);
            saved = host.context().scene_status;
        }
        FakeHost host(m_fixture->model(QStringLiteral("plain2.glb")));
        host.context().scene_status = saved;
        host.startAndSettle();
        QCOMPARE(std::memcmp(&host.context().scene_status, &saved, sizeof saved), 0);
    }

    void progressRisesToAtMost95AndStopsAtTheFirstDraw()
    {
        FakeHost host(m_fixture->model(QStringLiteral("slowload.glb")));
        host.start();
        QVERIFY(host.waitForFirstDraw());
        const std::vector<int> atFirstDraw = host.progress();
        QVERIFY(atFirstDraw.size() > 5);
        QVERIFY(std::is_sorted(atFirstDraw.begin(), atFirstDraw.end()));
        QVERIFY(atFirstDraw.front() >= 0);
        QCOMPARE(atFirstDraw.back(), 95);
        host.takeAll();
        kill(ViewerFixture::rendererOf(m_fixture->model(QStringLiteral("slowload.glb"))), SIGKILL);
        QVERIFY(waitFor([&] { return m_fixture->eventCount(QStringLiteral("restarted")) == 1; }));
        host.takeAll();
        QCOMPARE(host.progress(), atFirstDraw);
    }

    void nullCallbackAndNullBlocksAreHarmless()
    {
        FakeHost host(m_fixture->plainModel());
        host.start(nullptr);
        ViewContext& c = host.context();
        c.view_settings = nullptr;
        c.display_settings = nullptr;
        c.material_settings = nullptr;
        c.lighting_settings = nullptr;
        c.camera_settings = nullptr;
        QVERIFY(host.waitForFirstDraw());
        host.takeAll();
        host.call(kOperationRedraw);
        QVERIFY(!host.takeAll().empty());
    }

    void sideFilesAreListedBeforeTheFirstDraw()
    {
        FakeHost host(m_fixture->plainModel());
        std::memset(host.context().file_list, 'Z', sizeof host.context().file_list);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QCOMPARE(host.fileList(), QByteArray("textures/wood.png@part.bin"));
    }

    void longFileListIsCutAtAWholeName()
    {
        FakeHost host(m_fixture->model(QStringLiteral("manyfiles.glb")));
        host.start();
        QVERIFY(host.waitForFirstDraw());
        const QByteArray list = host.fileList();
        QVERIFY(list.size() <= 2047 && list.size() > 1990);
        const QList<QByteArray> names = list.split('@');
        QVERIFY(!list.contains("sign"));
        for (const QByteArray& name : names)
            QVERIFY(name.startsWith("a folder/texture number ") && name.endsWith(".png"));
    }

    void pathWithoutItsZeroIsRefusedByACard()
    {
        FakeHost host;
        std::memset(host.context().model_path, 'p', sizeof host.context().model_path);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(isCard(host.take()));
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("255 bytes")));
    }

    void pathIsCopiedAtTheStart()
    {
        const QString path = m_fixture->model(QStringLiteral("slowload.glb"));
        FakeHost host(path);
        host.start();
        host.setModelPath(QStringLiteral("/somewhere/else.glb"));
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(host.take().isDraft());
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 1);
    }

    void filesThatCannotBeShownEndInACard_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("reason");
        QTest::newRow("missing") << "" << 0 << "does not exist";
        QTest::newRow("empty") << "empty.glb" << 0 << "is empty";
        QTest::newRow("refused by the renderer") << "failed.glb" << 10 << "ends in the middle";
        QTest::newRow("picture refused") << "failpicture.glb" << 10 << "cannot be drawn";
        QTest::newRow("crashes twice") << "crashload.glb" << 10 << "crashed (signal 11) twice";
        QTest::newRow("ends twice") << "exitload.glb" << 10 << "code 3";
        QTest::newRow("crashes at each picture") << "crashpicture.glb" << 10 << "twice";
        QTest::newRow("talks nonsense") << "garbageload.glb" << 10 << "nonsense twice";
        QTest::newRow("bounds that are no numbers") << "nanbounds.glb" << 10 << "nonsense";
        QTest::newRow("claims a picture that does not fit") << "hugepicture.glb" << 10 << "nonsense";
        QTest::newRow("answers another request") << "wrongserial.glb" << 10 << "nonsense";
    }

    void filesThatCannotBeShownEndInACard()
    {
        QFETCH(QString, name);
        QFETCH(int, bytes);
        QFETCH(QString, reason);
        FakeHost host(name.isEmpty() ? QStringLiteral("/nowhere/none.glb") : m_fixture->model(name, bytes));
        host.start();
        QVERIFY(host.waitForFirstDraw());
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QVERIFY(isCard(frames[0]));
        QCOMPARE(frames[0].width, 64);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 1);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("shown")), 0);
        QVERIFY2(m_fixture->reasonOf(QStringLiteral("card")).contains(reason),
                 qPrintable(m_fixture->reasonOf(QStringLiteral("card"))));
    }

    void cardLeavesASavedViewAlone()
    {
        FakeHost host(m_fixture->model(QStringLiteral("failed.glb")));
        std::memset(&host.context().scene_status, 0x3f, sizeof(OV3DOBJECT::SceneStatus));
        const OV3DOBJECT::SceneStatus saved = host.context().scene_status;
        host.start();
        QVERIFY(host.waitForFirstDraw());
        host.call(kOperationRedraw);
        QCOMPARE(std::memcmp(&host.context().scene_status, &saved, sizeof saved), 0);
    }

    void cardEndsTheLoadWhenNoRendererCanBeStarted()
    {
        qputenv("OV3D_RENDERER", "/nowhere/renderer");
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(isCard(host.take()));
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("could not be started")));
    }

    void renderersThatHangEndInACardInTime_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("silent") << "hangload.glb";
        QTest::newRow("repeats the same percentage") << "samepercent.glb";
        QTest::newRow("never finishes a picture") << "hangpicture.glb";
    }

    void renderersThatHangEndInACardInTime()
    {
        QFETCH(QString, name);
        limitLoads(300ms);
        FakeHost host(m_fixture->model(name));
        QElapsedTimer timer;
        timer.start();
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(timer.elapsed() >= 300);
        QVERIFY(isCard(host.take()));
        // The reason names the limit, in whole seconds.
        QVERIFY2(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("took longer than 1 second ")),
                 qPrintable(m_fixture->reasonOf(QStringLiteral("card"))));
        QVERIFY(allRenderersEnd());
    }

    void progressProlongsTheTime()
    {
        limitLoads(500ms); // the load takes more than a second, with progress every 60 ms
        FakeHost host(m_fixture->model(QStringLiteral("drip.glb")));
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(host.take().isDraft());
    }

    void loadThatOnlyCrawlsEndsInACard()
    {
        limitLoads(500ms, 100ms); // as above, but progress prolongs no load for ever
        FakeHost host(m_fixture->model(QStringLiteral("drip.glb")));
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(isCard(host.take()));
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("took longer than")));
        QCOMPARE(ov3d::session::wholeLimit(0), 600ms);
        QCOMPARE(ov3d::session::wholeLimit(ov3d::session::limits().bytes_for_another_second), 4600ms);
    }

    void largerFilesGetMoreTime()
    {
        ov3d::session::Limits limits;
        limits.load = 100ms;
        limits.bytes_for_another_second = 1000;
        ov3d::session::setLimits(limits);
        QCOMPARE(ov3d::session::loadLimit(2999), std::chrono::milliseconds(2100));
        QCOMPARE(ov3d::session::loadLimit(999), std::chrono::milliseconds(100));
        ov3d::session::setLimits({});
        QCOMPARE(ov3d::session::loadLimit(40 << 20), std::chrono::milliseconds(30000));
    }

    void secondTryGoesWithoutTexturesAfterACrash()
    {
        const QString path = m_fixture->model(QStringLiteral("crashloadonce.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        const QStringList loads = ViewerFixture::log(path).filter(QStringLiteral("load"));
        QCOMPARE(loads.size(), 2);
        QVERIFY(loads[0].contains(QStringLiteral("textures=1")));
        QVERIFY(loads[1].contains(QStringLiteral("textures=0")));
        QVERIFY(m_fixture->reasonOf(QStringLiteral("shown")).contains(QStringLiteral("without its textures")));
        QCOMPARE(m_fixture->eventCount(QStringLiteral("restarted")), 1);
    }

    void killDuringTheLoadIsFollowedByAnotherTryWithTextures()
    {
        const QString path = m_fixture->model(QStringLiteral("hangloadonce.glb"));
        FakeHost host(path);
        host.start();
        QVERIFY(waitFor([&] { return ViewerFixture::rendererOf(path) > 0; }));
        kill(ViewerFixture::rendererOf(path), SIGKILL);
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(host.take().isDraft());
        QVERIFY(ViewerFixture::log(path).filter(QStringLiteral("load")).last().contains(QStringLiteral("textures=1")));
        QVERIFY(m_fixture->reasonOf(QStringLiteral("restarted")).contains(QStringLiteral("was killed")));
    }

    void abandonedLoadEndsInACardAtOnce()
    {
        FakeHost host(m_fixture->model(QStringLiteral("hangload.glb")));
        host.start();
        ov3dViewerAbandon(host.context().object_id + 1000);
        QVERIFY(!host.waitForFirstDraw(200));
        ov3dViewerAbandon(host.context().object_id);
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(isCard(host.take()));
        QVERIFY(m_fixture->reasonOf(QStringLiteral("card")).contains(QStringLiteral("given up")));
    }

    void abandonAfterTheFirstDrawDoesNothing()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        ov3dViewerAbandon(host.context().object_id);
        host.call(kOperationRedraw);
        const auto frames = host.takeAll();
        QVERIFY(!frames.empty() && frames.back().isFinal());
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 0);
    }

    void sizesThatCannotBeMeantEndInAnEmptyFrame_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("nothing") << 0 << 0;
        QTest::newRow("negative") << -64 << -48;
        QTest::newRow("no height") << 64 << 0;
    }

    void sizesThatCannotBeMeantEndInAnEmptyFrame()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        FakeHost host(m_fixture->plainModel(), width, height);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(host.hasFrame());
        QCOMPARE(host.context().frame_width, 0);
        QCOMPARE(host.context().frame_height, 0);
    }

    void observerHearsOfTheModelAndWhatIsMissing()
    {
        const QString path = m_fixture->model(QString::fromUtf8("missing \xC3\xA4 %20.glb"));
        FakeHost host(path);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY2(m_fixture->eventCount(QStringLiteral("shown")) == 1, "told before the host can see the first draw");
        const QStringList events = m_fixture->events();
        QCOMPARE(events.size(), 2);
        const QJsonObject missing = QJsonDocument::fromJson(events[0].toUtf8()).object();
        QCOMPARE(missing.size(), 6);
        QCOMPARE(missing[QLatin1String("event")].toString(), QStringLiteral("missing"));
        QCOMPARE(missing[QLatin1String("run")].toInt(), host.context().object_id);
        QCOMPARE(missing[QLatin1String("model")].toString(), path);
        QCOMPARE(missing[QLatin1String("files")].toArray()[0].toString(), QStringLiteral("lost \"one\".png"));
        const QJsonObject shown = QJsonDocument::fromJson(events[1].toUtf8()).object();
        QCOMPARE(shown[QLatin1String("event")].toString(), QStringLiteral("shown"));
        QCOMPARE(shown[QLatin1String("files")].toArray().size(), 2);
    }

    void startOverALiveSessionEndsThatOneFirst()
    {
        const QString first = m_fixture->model(QStringLiteral("hangload.glb"));
        const QString second = m_fixture->plainModel();
        FakeHost host(first);
        host.start();
        QVERIFY(waitFor([&] { return ViewerFixture::rendererOf(first) > 0; }));
        host.setModelPath(second);
        host.start();
        QVERIFY(host.waitForFirstDraw());
        QVERIFY(host.take().isDraft());
        QVERIFY(waitFor([] { return childProcesses().size() == 1; }));
    }

    void manySessionsLiveSideBySide()
    {
        std::vector<std::unique_ptr<FakeHost>> hosts;
        for (int i = 0; i < 8; ++i) {
            const QString path = m_fixture->model(QStringLiteral("plain%1.glb").arg(i));
            hosts.push_back(std::make_unique<FakeHost>(path, 64 + 4 * i, 48));
            hosts.back()->start();
        }
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            QVERIFY(hosts[i]->waitForFirstDraw());
            QCOMPARE(hosts[i]->take().width, 64 + 4 * static_cast<int>(i));
        }
        hosts.clear();
        QVERIFY(allRenderersEnd());
    }
};

OV3D_TEST_MAIN(SessionStartTest)
#include "sessionstart_test.moc"
