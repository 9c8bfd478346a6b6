#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/ov3dviewer.h"
#include "viewer/session/rendererprocess.h"

#include <QFile>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

using namespace std::chrono_literals;
using ov3d::session::RendererProcess;

/// Spare renderers, what a renderer's process inherits, and how its end is told.
class RendererProcessTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void spareRendererIsUsedByTheNextLoadAndReplaced()
    {
        ov3dViewerPrepare();
        ov3dViewerPrepare();
        QCOMPARE(childProcesses().size(), 1);
        const int spare = childProcesses().first();
        const QString path = m_fixture->plainModel();
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
        const QString path = m_fixture->plainModel();
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
};

OV3D_TEST_MAIN(RendererProcessTest)
#include "rendererprocess_test.moc"
