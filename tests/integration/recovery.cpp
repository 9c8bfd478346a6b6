#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/session/ov3dviewer.h"

#include <QDir>
#include <QFile>
#include <QMutexLocker>
#include <QTemporaryDir>

#include <atomic>
#include <set>
#include <thread>

#include <signal.h>
#include <unistd.h>

/// The real viewer under the real plug-in, with its renderer process killed at bad moments.
class Recovery : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void pictureComesBackAfterTheRendererIsKilledWhileShown();
    void pictureComesAfterTheRendererIsKilledDuringTheLoad();
    void aRendererKilledTwiceDuringTheLoadEndsInACard();
    void noRendererIsLeftBehind();

private:
    [[nodiscard]] QImage picture() const;
    [[nodiscard]] bool load();

    QTemporaryDir m_folder;
    COv3DObject* m_item = nullptr;
};

namespace {

/// Process ids of this test's own renderers, zombies not counted.
std::set<pid_t> renderers()
{
    std::set<pid_t> found;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool isNumber = false;
        const int pid = entry.toInt(&isNumber);
        QFile status(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!isNumber || !status.open(QIODevice::ReadOnly))
            continue;
        // pid (name) state parent ...
        const QByteArray text = status.readAll();
        const QByteArray name = text.mid(text.indexOf('(') + 1, text.lastIndexOf(')') - text.indexOf('(') - 1);
        const QList<QByteArray> rest = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (name == "ov3d-renderer" && rest.value(0) != "Z" && rest.value(1).toInt() == ::getpid())
            found.insert(pid);
    }
    return found;
}

std::atomic<int> g_cards{0};

} // namespace

void Recovery::initTestCase()
{
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("resources")));
    QVERIFY(QDir::setCurrent(m_folder.path()));
    SetRunHandle(&ov3dViewer);
    ov3dViewerSetObserver([](const char* event) {
        if (QByteArray(event).contains("\"card\""))
            ++g_cards;
    });
}

void Recovery::init()
{
    TestBase::init();
    g_cards = 0;
    m_item = static_cast<COv3DObject*>(createObject_ov3dobject(0, 0, false));
    m_item->setSize(QSizeF(640, 480), false, false);
}

void Recovery::cleanup()
{
    m_item->m_loadTimer.invalidate(); // skips the wait of an item that has just been loaded
    m_item->Release();
    m_item = nullptr;
    TestBase::cleanup();
}

bool Recovery::load()
{
    return m_item->loadFromFile(QDir(QStringLiteral(OV3D_SAMPLES)).filePath(QStringLiteral("textured.glb")));
}

QImage Recovery::picture() const
{
    const QMutexLocker lock(&m_item->m_drawThread->m_mutex);
    return m_item->m_drawThread->m_resultImage.copy();
}

void Recovery::pictureComesBackAfterTheRendererIsKilledWhileShown()
{
    QVERIFY(load());
    QVERIFY(waitFor([] { return ov3dViewerPending() == 0; }));
    const QImage before = picture();
    QVERIFY(!before.isNull());

    const std::set<pid_t> first = renderers();
    QVERIFY(!first.empty());
    for (const pid_t pid : first)
        ::kill(pid, SIGKILL);
    QVERIFY(waitFor([&] { return renderers() != first; }));
    {
        const QMutexLocker lock(&m_item->m_drawThread->m_mutex);
        m_item->m_drawThread->m_resultImage = QImage();
    }
    QVERIFY(waitFor([this] { return !picture().isNull(); }, 20000));
    QVERIFY(waitFor([] { return ov3dViewerPending() == 0; }));
    QCOMPARE(picture(), before);
    QCOMPARE(g_cards.load(), 0);
}

void Recovery::pictureComesAfterTheRendererIsKilledDuringTheLoad()
{
    std::atomic<bool> done{false};
    std::thread killer([&done] {
        while (!done) {
            const std::set<pid_t> running = renderers();
            for (const pid_t pid : running)
                ::kill(pid, SIGKILL);
            if (!running.empty())
                return;
        }
    });
    const bool loaded = load();
    done = true;
    killer.join();
    QVERIFY(loaded);
    QVERIFY(waitFor([] { return ov3dViewerPending() == 0; }));
    QVERIFY(!picture().isNull());
    QCOMPARE(g_cards.load(), 0);
}

void Recovery::aRendererKilledTwiceDuringTheLoadEndsInACard()
{
    std::atomic<bool> done{false};
    std::thread killer([&done] {
        while (!done) {
            for (const pid_t pid : renderers())
                ::kill(pid, SIGKILL);
        }
    });
    const bool loaded = load();
    done = true;
    killer.join();
    QVERIFY(loaded);
    QVERIFY(g_cards.load() >= 1);
    QVERIFY(!picture().isNull());
}

void Recovery::noRendererIsLeftBehind()
{
    QVERIFY(load());
    m_item->m_loadTimer.invalidate();
    m_item->Release();
    m_item = static_cast<COv3DObject*>(createObject_ov3dobject(0, 0, false));
    QVERIFY(waitFor([] { return renderers().empty(); }));
}

OV3D_TEST_MAIN(Recovery)
#include "recovery.moc"
