#include "src/plugin/ov3dobject.h"
#include "tests/integration/realitem.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr QSize kItemSize(1280, 960);
constexpr qint64 kDragMs = 2000;
constexpr double kMovePauseMs = 40; ///< the pause that the item makes after each move

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

    // How long a picture takes from the request to the frame, both measured in this very run.
    QElapsedTimer timer;
    timer.start();
    real.item().forcedraw();
    QVERIFY(RealItem::settle());
    const double pictureMs = milliseconds(timer);
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
    QVERIFY(RealItem::settle());

    // The middle value, since a busy machine delays single calls; a call that waited for its picture would shift all.
    std::nth_element(waits.begin(), waits.begin() + static_cast<std::ptrdiff_t>(waits.size() / 2), waits.end());
    const double usualWait = waits[waits.size() / 2];
    QVERIFY2(
        usualWait < pictureMs / 4,
        qPrintable(QStringLiteral("%1 ms besides the pause, a picture takes %2 ms").arg(usualWait).arg(pictureMs)));

    // The last picture is that of the last camera: drawn afresh it is the same.
    const QImage last = real.picture();
    QVERIFY(last != before);
    real.item().forcedraw();
    QVERIFY(RealItem::settle());
    QCOMPARE(real.picture(), last);
}

OV3D_TEST_MAIN(Drag)
#include "drag.moc"
