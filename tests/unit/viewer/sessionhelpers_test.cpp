#include "src/render/handshake.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/fakehost.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"
#include "viewer/session/rendererprocess.h"
#include "viewer/session/session.h"

#include <QElapsedTimer>
#include <QFile>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <thread>

using namespace std::chrono_literals;
using ov3d::session::RendererProcess;

/// Spare renderers, file lists, observers, and what a renderer process inherits.
class SessionHelpersTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture = std::make_unique<ViewerFixture>();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

    void spareRendererIsUsedByTheNextLoadAndReplaced()
    {
        ov3dViewerPrepare();
        ov3dViewerPrepare();
        QCOMPARE(childProcesses().size(), 1);
        const int spare = childProcesses().first();
        const QString path = m_fixture->model(QStringLiteral("plain.glb"));
        FakeHost host(path);
        host.startAndSettle();
        QCOMPARE(ViewerFixture::rendererOf(path), spare);
        QVERIFY(waitFor([] { return childProcesses().size() == 2; }));
        host.stop();
        QVERIFY(waitFor([] { return childProcesses().size() == 1; }));
        QVERIFY(childProcesses().first() != spare);
    }

    void spareRendererThatDiedIsReplacedAndBuried()
    {
        ov3dViewerPrepare();
        const int spare = childProcesses().first();
        kill(spare, SIGKILL);
        const QString path = m_fixture->model(QStringLiteral("plain.glb"));
        FakeHost host(path);
        QVERIFY(host.startAndSettle().isFinal());
        QVERIFY(ViewerFixture::rendererOf(path) != spare);
        QVERIFY(!childProcesses().contains(spare));
    }

    void prepareWithoutARendererIsHarmless()
    {
        qputenv("OV3D_RENDERER", "/nowhere/renderer");
        ov3dViewerPrepare();
        QVERIFY(childProcesses().isEmpty());
    }

    void rendererInheritsNothingButItsSocket()
    {
        const int leak = open("/dev/null", O_RDONLY); // a host's descriptor without close-on-exec
        QVERIFY(leak >= 0);
        const auto renderer = RendererProcess::start();
        QVERIFY(renderer);
        const QString folder = QStringLiteral("/proc/%1/fd/").arg(renderer->id());
        // Its first word says that it has started, and that the loader of libraries has closed its files.
        std::vector<std::uint8_t> message;
        int attached = -1;
        QVERIFY(renderer->channel().receive(message, attached, 5s) == ov3d::protocol::Channel::Outcome::message);
        QVERIFY(QFile::symLinkTarget(folder + QStringLiteral("0")) == QLatin1String("/dev/null"));
        char target[64] = {};
        QVERIFY(readlink(qPrintable(folder + QStringLiteral("3")), target, sizeof target - 1) > 0);
        QVERIFY(QByteArray(target).startsWith("socket:"));
        QVERIFY(readlink(qPrintable(folder + QString::number(leak)), target, sizeof target) < 0 || leak == 3);
        for (int descriptor = 4; descriptor < 64; ++descriptor)
            QVERIFY(readlink(qPrintable(folder + QString::number(descriptor)), target, sizeof target) < 0);
        ::close(leak);
    }

    void rendererRunsWithoutTheHostsSignalMask()
    {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        const auto renderer = RendererProcess::start();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        QVERIFY(renderer);
        QFile status(QStringLiteral("/proc/%1/status").arg(renderer->id()));
        QVERIFY(status.open(QIODevice::ReadOnly));
        QVERIFY(status.readAll().contains("SigBlk:\t0000000000000000"));
    }

    void endOfARendererIsTold()
    {
        const auto killed = RendererProcess::start();
        kill(killed->id(), SIGKILL);
        QVERIFY(waitFor([&] { return !killed->isAlive(); }));
        const RendererProcess::End end = killed->finish();
        QVERIFY(end.known);
        QCOMPARE(end.signal, SIGKILL);
        QVERIFY(!end.isCrash());
        const auto crashed = RendererProcess::start();
        kill(crashed->id(), SIGSEGV);
        QVERIFY(waitFor([&] { return !crashed->isAlive(); }));
        QVERIFY(crashed->finish().isCrash());
        QVERIFY(childProcesses().isEmpty());
    }

    void filesAreListedWithoutDrawing()
    {
        const QString path = m_fixture->model(QStringLiteral("plain.OBJ"));
        QStringList files;
        QVERIFY(ov3dViewerListFiles(qPrintable(path), [&](const char* file) { files << QString::fromUtf8(file); }));
        QCOMPARE(files, QStringList({QStringLiteral("textures/wood.png"), QStringLiteral("part.bin")}));
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("render")), 0);
        const QString load = ViewerFixture::log(path).first();
        QVERIFY(load.contains(QStringLiteral("list=1")) && load.contains(QStringLiteral("format=1")));
        QVERIFY(childProcesses().isEmpty());
    }

    void listingFailsForWhatCannotBeRead_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("refused") << "failed.glb";
        QTest::newRow("crash") << "crashload.glb";
        QTest::newRow("nonsense") << "garbageload.glb";
        QTest::newRow("silence") << "hangload.glb";
    }

    void listingFailsForWhatCannotBeRead()
    {
        QFETCH(QString, name);
        ov3d::session::Limits limits;
        limits.load = 300ms;
        ov3d::session::setLimits(limits);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!ov3dViewerListFiles(qPrintable(m_fixture->model(name)), {}));
        QVERIFY(timer.elapsed() < 3000);
        QVERIFY(childProcesses().isEmpty());
    }

    void listingOfNothingFails()
    {
        QVERIFY(!ov3dViewerListFiles(nullptr, {}));
        QVERIFY(!ov3dViewerListFiles("", {}));
        QVERIFY(!ov3dViewerListFiles("/nowhere/none.glb", {}));
        QVERIFY(!ov3dViewerListFiles("/tmp", {}));
    }

    void sessionThatNobodyWatchesLooksForItself()
    {
        ViewContext context = {};
        std::vector<unsigned char> buffer(64 * 48 * 8);
        const QByteArray path = QFile::encodeName(m_fixture->model(QStringLiteral("plain.glb")));
        std::memcpy(context.model_path, path.constData(), static_cast<std::size_t>(path.size()));
        context.width = 64;
        context.height = 48;
        context.frame_buffer = buffer.data();
        context.frame_width = kNoFrame;
        ov3d::session::Session session(context);
        std::thread thread([&session] { session.run(false); });
        const auto nextWidth = [&context] {
            waitFor([&context] { return loadAcquire(context.frame_width) != kNoFrame; });
            const int width = loadAcquire(context.frame_width);
            storeRelease(context.frame_width, kNoFrame);
            return width;
        };
        const int widths[] = {nextWidth(), nextWidth()};
        storeRelease(context.width, 60);
        const int afterwards = nextWidth();
        session.stop();
        thread.join();
        QCOMPARE(widths[0], 64);
        QCOMPARE(widths[1], 64);
        QCOMPARE(afterwards, 60);
    }

    void observerMayReplaceItselfAndCallBack()
    {
        FakeHost host(m_fixture->model(QStringLiteral("plain.glb")));
        std::atomic<int> calls{0};
        ov3dViewerSetObserver([&](const char*) {
            ++calls;
            ov3dViewerAbandon(host.context().object_id);
            ov3dViewerPending();
            ov3dViewerSetObserver({});
        });
        host.start();
        QVERIFY(host.waitForFirstDraw());
        host.takeAll();
        QCOMPARE(calls.load(), 1);
    }

    void sessionOfAnObserverThatStopsItEnds()
    {
        FakeHost host(m_fixture->model(QStringLiteral("plain.glb")));
        ov3dViewerSetObserver([&](const char*) { host.stop(); });
        host.start();
        QVERIFY(host.waitForThread());
        QVERIFY(!host.isFirstDrawDone());
    }

private:
    std::unique_ptr<ViewerFixture> m_fixture;
};

OV3D_TEST_MAIN(SessionHelpersTest)
#include "sessionhelpers_test.moc"
