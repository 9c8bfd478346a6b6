#include "src/plugin/ov3dobject.h"
#include "tests/integration/realitem.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include <signal.h>
#include <unistd.h>

namespace {

constexpr QSize kItemSize(1280, 960);
constexpr qint64 kDragMs = 2000;
constexpr double kMovePauseMs = 40; ///< the pause that the item makes after each move

/// Process ids of this test's own renderers.
std::vector<pid_t> renderers()
{
    std::vector<pid_t> found;
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(QStringLiteral("/proc/%1/stat").arg(entry));
        if (entry.toInt() == 0 || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = file.readAll();
        // pid (name) state parent ...
        const QList<QByteArray> rest = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (text.contains("(ov3d-renderer)") && rest.value(1).toInt() == ::getpid())
            found.push_back(entry.toInt());
    }
    return found;
}

double milliseconds(const QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

} // namespace

/// A long drag on a model that takes longer to draw than a hand needs to move.
class Drag : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void movesNeverWaitForAPicture();

private:
    QTemporaryDir m_folder;
    QString m_model;
};

void Drag::initTestCase()
{
    m_model = m_folder.filePath(QStringLiteral("grid.glb"));
    QCOMPARE(QProcess::execute(QStringLiteral(OV3D_MAKE_MODELS),
                               {QStringLiteral("--grid"), QStringLiteral("100000"), m_model}),
             0);
}

void Drag::movesNeverWaitForAPicture()
{
    RealItem real(kItemSize);
    QVERIFY(real.load(m_model));

    // How long a picture takes from the request to the frame, measured in this very run: another view, and back. A mere
    // redraw would hand over the pixels that are there.
    const OV3DOBJECT::SceneStatus home = real.item().m_context.scene_status;
    real.turnWheel(real.grip(), 120);
    QVERIFY(RealItem::settle());
    QElapsedTimer timer;
    timer.start();
    CUndoRedo::GetInstance()->stack()->undo();
    QVERIFY(RealItem::settle());
    const double pictureMs = milliseconds(timer);
    CUndoRedo::GetInstance()->stack()->clear();
    QCOMPARE(std::memcmp(&home, &real.item().m_context.scene_status, sizeof home), 0);
    const QImage before = real.picture();

    const QPointF start = real.grip();
    std::vector<double> waits;
    real.press(start);
    QElapsedTimer drag;
    drag.start();
    QPointF hand = start;
    while (drag.elapsed() < kDragMs) {
        const double turn = static_cast<double>(drag.elapsed()) / static_cast<double>(kDragMs);
        hand = start + QPointF(400 * turn, 60 * std::sin(6 * turn));
        timer.restart();
        real.move(hand);
        waits.push_back(milliseconds(timer) - kMovePauseMs);
        QCoreApplication::processEvents();
    }
    real.release(hand);
    const int framesAtRelease = real.frameCount();
    QVERIFY(RealItem::settle());

    // The middle value, since a busy machine delays single calls; a call that waited for its picture would shift all.
    std::nth_element(waits.begin(), waits.begin() + static_cast<std::ptrdiff_t>(waits.size() / 2), waits.end());
    const double usualWait = waits[waits.size() / 2];
    QVERIFY2(
        usualWait < pictureMs / 4,
        qPrintable(QStringLiteral("%1 ms besides the pause, a picture takes %2 ms").arg(usualWait).arg(pictureMs)));

    // Older requests were dropped: what was on its way, and the picture at rest, which comes twice.
    QVERIFY(real.frameCount() - framesAtRelease <= 4);

    // The last picture is that of the last camera. The way there leads over another view, so it is drawn again.
    const QImage last = real.picture();
    const OV3DOBJECT::SceneStatus end = real.item().m_context.scene_status;
    QVERIFY(last != before);
    CUndoRedo::GetInstance()->stack()->undo();
    QVERIFY(RealItem::settle());
    QCOMPARE(real.picture(), before);
    CUndoRedo::GetInstance()->stack()->redo();
    QVERIFY(RealItem::settle());
    QCOMPARE(std::memcmp(&end, &real.item().m_context.scene_status, sizeof end), 0);
    QCOMPARE(real.picture(), last);

    // No picture can be drawn at all while the renderer stands still; whatever waits for one waits in vain.
    const std::vector<pid_t> processes = renderers();
    QVERIFY(!processes.empty());
    for (const pid_t pid : processes)
        ::kill(pid, SIGSTOP);
    const int framesBefore = real.frameCount();
    const QPointF grip = real.grip();
    real.press(grip);
    for (int i = 1; i <= 20; ++i)
        real.move(grip + QPointF(5 * i, 0));
    real.release(grip + QPointF(100, 0));
    const int framesMeanwhile = real.frameCount() - framesBefore;
    for (const pid_t pid : processes)
        ::kill(pid, SIGCONT);
    QCOMPARE(framesMeanwhile, 0);
    QVERIFY(RealItem::settle());
    QVERIFY(real.picture() != last);
}

OV3D_TEST_MAIN(Drag)
#include "drag.moc"
