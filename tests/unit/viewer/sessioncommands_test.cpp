#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/camera/orbit.h"
#include "viewer/session/commands.h"
#include "viewer/session/commandtext.h"
#include "viewer/session/ov3dviewer.h"

#include <signal.h>

#include <cmath>
#include <cstring>
#include <numbers>

using namespace ov3d;

namespace {

double azimuthOf(const OV3DOBJECT::SceneStatus& status)
{
    return camera::anglesOf(camera::poseFromStatus(status)).azimuth * 180 / std::numbers::pi;
}

bool same(const OV3DOBJECT::SceneStatus& a, const OV3DOBJECT::SceneStatus& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

/// Commands: operation codes beyond those of the contract, with a text argument and an answer.
class SessionCommandsTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void orbitTextIsTwoNumbers_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<double>("azimuth");
        QTest::addColumn<double>("elevation");
        QTest::newRow("whole numbers") << QByteArray("30 10") << true << 30.0 << 10.0;
        QTest::newRow("negative and fractional") << QByteArray("-12.5 -0.25") << true << -12.5 << -0.25;
        QTest::newRow("blanks around and between") << QByteArray("  1 \t 2  ") << true << 1.0 << 2.0;
        QTest::newRow("plus signs") << QByteArray("+3 +4") << true << 3.0 << 4.0;
        QTest::newRow("exponent") << QByteArray("1e1 2E0") << true << 10.0 << 2.0;
        for (const char* text : {"", " ", "1", "1 ", "1 2 3", "a b", "1,5 2", "1;2", "1-2", "nan 1", "1 inf", "1e999 0",
                                 "+-1 2", "0x10 1", "1 2x"})
            QTest::newRow(text[0] ? text : "nothing") << QByteArray(text) << false << 0.0 << 0.0;
    }

    void orbitTextIsTwoNumbers()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, good);
        QFETCH(double, azimuth);
        QFETCH(double, elevation);
        const auto step = session::parseOrbitStep(text.toStdString());
        QCOMPARE(step.has_value(), good);
        if (step) {
            QCOMPARE(step->azimuth, azimuth);
            QCOMPARE(step->elevation, elevation);
        }
    }

    void orbitTurnsTheCameraBeforeTheCallReturns()
    {
        FakeHost host(m_fixture->plainModel());
        const TakenFrame before = host.startAndSettle();
        const double azimuth = azimuthOf(host.context().scene_status);
        QCOMPARE(host.command(kCommandOrbit, "40 5"), kDone);
        QVERIFY(std::abs(azimuthOf(host.context().scene_status) - azimuth - 40) < 1e-9);
        const std::vector<TakenFrame> frames = host.takeAll();
        QCOMPARE(frames.size(), std::size_t{2});
        QVERIFY(frames.back().view() != before.view());
    }

    void namedViewIsShownAgainAfterTheHandHasLeftIt()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        QCOMPARE(host.command(kCommandShowView, "left"), kDone);
        const OV3DOBJECT::SceneStatus left = host.context().scene_status;
        QVERIFY(std::abs(azimuthOf(left) + 90) < 1e-9);
        host.mouse(kMouseWheel, 10, 10, 0);
        QVERIFY(!same(host.context().scene_status, left));
        QCOMPARE(host.command(kCommandShowView, " left "), kDone);
        QVERIFY(same(host.context().scene_status, left));
    }

    void resetShowsTheFirstView()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        const OV3DOBJECT::SceneStatus first = host.context().scene_status;
        host.command(kCommandOrbit, "40 5");
        QCOMPARE(host.command(kCommandReset, ""), kDone);
        QVERIFY(same(host.context().scene_status, first));
    }

    void keptViewComesBackToTheBit()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.command(kCommandOrbit, "12.3 4.56");
        const OV3DOBJECT::SceneStatus kept = host.context().scene_status;
        const int view = host.takeAll().back().view();
        QCOMPARE(host.command(kCommandKeepView, "my view \xC3\xA4"), kDone);
        QVERIFY2(same(host.context().scene_status, kept), "keeping moves nothing");
        host.command(kCommandOrbit, "100 -20");
        host.takeAll();
        QCOMPARE(host.command(kCommandReturnToView, "my view \xC3\xA4"), kDone);
        QVERIFY(same(host.context().scene_status, kept));
        QCOMPARE(host.takeAll().back().view(), view);
    }

    void nameKeptTwiceStandsForTheSecondView()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.command(kCommandKeepView, "a");
        host.command(kCommandShowView, "top");
        const OV3DOBJECT::SceneStatus top = host.context().scene_status;
        QCOMPARE(host.command(kCommandKeepView, "a"), kDone);
        host.command(kCommandReset, "");
        QCOMPARE(host.command(kCommandReturnToView, "a"), kDone);
        QVERIFY(same(host.context().scene_status, top));
    }

    void tooManyKeptViewsAreRefused()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        for (int i = 0; i < kMaxKeptViews; ++i)
            QCOMPARE(host.command(kCommandKeepView, "view " + QByteArray::number(i)), kDone);
        QCOMPARE(host.command(kCommandKeepView, "one more"), kFailed);
        QCOMPARE(host.command(kCommandKeepView, "view 3"), kDone);
    }

    void keptViewsSurviveTheRendererButNotTheRun()
    {
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        QCOMPARE(host.command(kCommandKeepView, "a"), kDone);
        host.takeAll();
        kill(ViewerFixture::rendererOf(path), SIGKILL);
        QVERIFY(host.take().isFinal());
        host.takeAll();
        QCOMPARE(host.command(kCommandReturnToView, "a"), kDone);
        host.stop();
        host.setModelPath(path);
        host.startAndSettle();
        QCOMPARE(host.command(kCommandReturnToView, "a"), kFailed);
    }

    void malformedCommandFailsAtOnceAndChangesNothing_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("text");
        const QByteArray full(256, 'x');
        QTest::newRow("unknown code") << 108 << QByteArray();
        QTest::newRow("unknown code below") << 99 << QByteArray();
        QTest::newRow("code that is none") << -7 << QByteArray();
        QTest::newRow("orbit without numbers") << int(kCommandOrbit) << QByteArray("about there");
        QTest::newRow("orbit with one number") << int(kCommandOrbit) << QByteArray("12");
        QTest::newRow("unknown view") << int(kCommandShowView) << QByteArray("sideways");
        QTest::newRow("view in capitals") << int(kCommandShowView) << QByteArray("Front");
        QTest::newRow("view without a name") << int(kCommandShowView) << QByteArray();
        QTest::newRow("reset with a text") << int(kCommandReset) << QByteArray("now");
        QTest::newRow("view kept without a name") << int(kCommandKeepView) << QByteArray("  ");
        QTest::newRow("view that was not kept") << int(kCommandReturnToView) << QByteArray("never");
        QTest::newRow("picture without a path") << int(kCommandSavePicture) << QByteArray();
        QTest::newRow("facts without a path") << int(kCommandReportFacts) << QByteArray();
        QTest::newRow("environment that does not exist") << int(kCommandSetEnvironment) << QByteArray("/nowhere/a.hdr");
        QTest::newRow("environment that is a folder") << int(kCommandSetEnvironment) << QByteArray("/tmp");
        for (int code = kCommandOrbit; code <= kCommandSetEnvironment; ++code)
            QTest::newRow(qPrintable(QStringLiteral("text without its zero, %1").arg(code))) << code << full;
    }

    void malformedCommandFailsAtOnceAndChangesNothing()
    {
        QFETCH(int, code);
        QFETCH(QByteArray, text);
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        const OV3DOBJECT::SceneStatus before = host.context().scene_status;
        QCOMPARE(host.command(code, text), kFailed);
        QVERIFY(same(host.context().scene_status, before));
        QCOMPARE(ov3dViewerPending(), 0);
    }

    void textOf255BytesIsTaken()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        const QByteArray name(kMaxCommandTextBytes, 'n');
        QCOMPARE(host.command(kCommandKeepView, name), kDone);
        QCOMPARE(host.command(kCommandReturnToView, name), kDone);
        QCOMPARE(host.command(kCommandReturnToView, name.left(254)), kFailed);
    }

    void modelIsLoadedAgainFromItsOwnPathAfterACommand()
    {
        // The text lies in the bytes of the model's path.
        const QString path = m_fixture->plainModel();
        FakeHost host(path);
        host.startAndSettle();
        host.command(kCommandShowView, "top");
        host.takeAll();
        kill(ViewerFixture::rendererOf(path), SIGKILL);
        QVERIFY(host.take().isFinal());
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("load")), 2);
    }

    void commandsBeforeTheFirstPictureFail()
    {
        const QString path = m_fixture->model(QStringLiteral("hangload.glb"));
        FakeHost host(path);
        host.start();
        QVERIFY(waitFor([&] { return ViewerFixture::count(path, QStringLiteral("load")) == 1; }));
        for (int code = kCommandOrbit; code <= kCommandReportFacts; ++code)
            QCOMPARE(host.command(code, code == kCommandOrbit ? "1 1" : code == kCommandReset ? "" : "front"), kFailed);
    }

    void commandsOnACardFail()
    {
        FakeHost host(m_fixture->model(QStringLiteral("failed.glb")));
        host.startAndSettle();
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 1);
        QCOMPARE(host.command(kCommandShowView, "front"), kFailed);
        QCOMPARE(host.command(kCommandSavePicture, "/tmp/never.png"), kFailed);
        QCOMPARE(host.command(kCommandReportFacts, "/tmp/never.json"), kFailed);
    }

    void turntableGoesOnFromACommandedView()
    {
        FakeHost host(m_fixture->plainModel());
        host.view.view_type = 5;
        host.start();
        QVERIFY(host.waitForFirstDraw());
        host.take();
        QCOMPARE(host.command(kCommandShowView, "front"), kDone);
        QVERIFY(std::abs(azimuthOf(host.context().scene_status)) < 1e-9);
        host.take();
        QVERIFY(waitFor([&] {
            if (host.hasFrame())
                host.take();
            host.call(kOperationInput);
            return azimuthOf(host.context().scene_status) > 1;
        }));
    }
};

OV3D_TEST_MAIN(SessionCommandsTest)
#include "sessioncommands_test.moc"
