#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

using namespace std::chrono_literals;

namespace {

FakeHost* g_host = nullptr;

void stopFromTheCallback(int)
{
    if (g_host)
        g_host->stop();
}

std::atomic<bool> g_inCallback{false};

void slowCallback(int)
{
    g_inCallback = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    g_inCallback = false;
}

QString programOf(int process)
{
    return QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process));
}

} // namespace

/// Once a stop request has returned, nothing touches the context.
class SessionStopTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void stopReturnsAtOnceAndNothingIsWrittenAfterwards_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("moment");
        QTest::newRow("directly after the start") << "plain.glb" << 0;
        QTest::newRow("while a renderer hangs in a load") << "hangload.glb" << 1;
        QTest::newRow("while it loads and reports") << "slowload.glb" << 1;
        QTest::newRow("while a load crashes again and again") << "crashload.glb" << 1;
        QTest::newRow("while the first picture is being drawn") << "hangpicture.glb" << 2;
        QTest::newRow("at the first draw") << "plain.glb" << 3;
        QTest::newRow("while pictures follow each other") << "plain.glb" << 4;
        QTest::newRow("at rest") << "plain.glb" << 5;
        QTest::newRow("with a card") << "failed.glb" << 5;
    }

    void stopReturnsAtOnceAndNothingIsWrittenAfterwards()
    {
        QFETCH(QString, name);
        QFETCH(int, moment);
        limitLoads(1h);
        const QString path = m_fixture->model(name);
        FakeHost host(path);
        host.start();
        if (moment == 1)
            QVERIFY(waitForCount(path, QStringLiteral("load"), 1));
        if (moment == 2)
            QVERIFY(waitForCount(path, QStringLiteral("render"), 1));
        if (moment >= 3)
            QVERIFY(host.waitForFirstDraw());
        if (moment == 4) {
            for (int i = 0; i < 10; ++i) {
                host.mouse(kMouseWheel, 10, 10, 0);
                host.take(100);
            }
            storeRelease(host.context().frame_width, kNoFrame);
        }
        if (moment == 5)
            host.takeAll();
        // A stop that waits for a renderer in any way does not return. A process that has yet to execute its program is
        // left alone: whoever starts it waits for that.
        const QString ownProgram = programOf(getpid());
        for (const int renderer : childProcesses()) {
            if (programOf(renderer) != ownProgram)
                kill(renderer, SIGSTOP);
        }
        host.stop();

        // Poison all of it, free frame included: any late write would show.
        std::memset(static_cast<void*>(&host.context()), 0x5A, sizeof(ViewContext));
        storeRelease(host.context().frame_width, kNoFrame);
        std::fill(host.buffer().begin(), host.buffer().end(), static_cast<unsigned char>(0x5A));
        const std::size_t progress = host.progress().size();
        ViewContext expected;
        std::memcpy(static_cast<void*>(&expected), &host.context(), sizeof expected);
        QVERIFY(host.waitForThread());
        // Three rounds of the watcher.
        QVERIFY(!waitFor([&] { return std::memcmp(&expected, &host.context(), sizeof expected) != 0; }, 250));
        QVERIFY(std::all_of(host.buffer().begin(), host.buffer().end(), [](unsigned char b) { return b == 0x5A; }));
        QCOMPARE(host.progress().size(), progress);
        QVERIFY(allRenderersEnd());
        QCOMPARE(ov3dViewerPending(), 0);
    }

    void stopAtRandomMomentsIsSafe()
    {
        // Contexts are freed at once after the stop: an address sanitizer build sees any late access.
        for (int i = 0; i < 40; ++i) {
            FakeHost host(m_fixture->model(i % 2 ? QStringLiteral("plain.glb") : QStringLiteral("slowload.glb")));
            host.start();
            QTest::qSleep(1 + i * 3);
            host.call(kOperationRedraw);
            host.stop();
            std::memset(static_cast<void*>(&host.context()), 0, sizeof(ViewContext));
        }
        QVERIFY(allRenderersEnd());
    }

    void progressCallbackMayStopTheSession()
    {
        FakeHost host(m_fixture->model(QStringLiteral("slowload.glb")));
        g_host = &host;
        host.start(stopFromTheCallback);
        QVERIFY(host.waitForThread());
        g_host = nullptr;
        QVERIFY(!host.isFirstDrawDone());
    }

    void stopWaitsForAProgressCallbackThatRuns()
    {
        FakeHost host(m_fixture->model(QStringLiteral("slowload.glb")));
        host.start(slowCallback);
        QVERIFY(waitFor([] { return g_inCallback.load(); }));
        host.stop();
        QVERIFY(!g_inCallback);
    }

    void secondStopAndLateRequestsDoNothing()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        host.stop();
        std::memset(&host.context().scene_status, 0x22, sizeof(OV3DOBJECT::SceneStatus));
        host.stop();
        host.call(kOperationRedraw);
        const auto* bytes = reinterpret_cast<const unsigned char*>(&host.context().scene_status);
        QVERIFY(std::all_of(bytes, bytes + sizeof(OV3DOBJECT::SceneStatus), [](unsigned char b) { return b == 0x22; }));
        QVERIFY(!host.hasFrame());
    }

    void addressCanBeUsedAgainAfterAStop()
    {
        FakeHost host(m_fixture->plainModel());
        for (int i = 0; i < 5; ++i) {
            QVERIFY(host.startAndSettle().isFinal());
            host.stop();
        }
        QVERIFY(allRenderersEnd());
    }

    void processMayEndWhileSessionsLive()
    {
        // A child of the fork kind would not have the session's thread; run ourselves with a word that tells us to
        // leave a session alive at the end of main.
        QTemporaryDir folder; // what it leaves behind goes with this
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), folder.path());
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--leave-sessions-alive")});
        QVERIFY(process.waitForFinished(20000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        const int renderer = process.readAllStandardOutput().trimmed().toInt();
        QVERIFY(renderer > 0);
        QVERIFY2(waitFor([renderer] { return kill(renderer, 0) != 0 || isZombie(renderer); }),
                 "its renderer ends with it");
    }

    /// Whether a process is dead and merely not waited for (its new parent may be slow to do so).
    static bool isZombie(int id)
    {
        QFile file(QStringLiteral("/proc/%1/stat").arg(id));
        if (!file.open(QIODevice::ReadOnly))
            return true;
        const QByteArray text = file.readAll();
        return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
    }
};

namespace {

int leaveSessionsAlive()
{
    static ViewerFixture& fixture = *new ViewerFixture;
    const QString path = fixture.model(QStringLiteral("plain.glb"));
    static FakeHost& host = *new FakeHost(path);
    host.start();
    if (!host.waitForFirstDraw())
        return 1;
    host.view.view_type = 5;
    host.call(kOperationApplyViewType);
    std::printf("%d\n", ViewerFixture::rendererOf(path));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (application.arguments().contains(QStringLiteral("--leave-sessions-alive")))
        return leaveSessionsAlive();
    SessionStopTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "sessionstop_test.moc"
