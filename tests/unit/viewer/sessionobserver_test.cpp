#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/ov3dviewer.h"
#include "viewer/session/session.h"

#include <QFile>

#include <atomic>
#include <cstring>
#include <thread>

/// What an observer may do, and a session without any host that watches.
class SessionObserverTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void sessionThatNobodyWatchesLooksForItself()
    {
        ViewContext context = {};
        std::vector<unsigned char> buffer(64 * 48 * 8);
        const QByteArray path = QFile::encodeName(m_fixture->plainModel());
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
        FakeHost host(m_fixture->plainModel());
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
        FakeHost host(m_fixture->plainModel());
        ov3dViewerSetObserver([&](const char*) { host.stop(); });
        host.start();
        QVERIFY(host.waitForThread());
        QVERIFY(!host.isFirstDrawDone());
    }
};

OV3D_TEST_MAIN(SessionObserverTest)
#include "sessionobserver_test.moc"
