#include "src/plugin/ov3dobject.h"
#include "tests/integration/realitem.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

constexpr QSize kItemSize(640, 480);
constexpr int kShapeLimit = 256; ///< pixels; the hit shape is made from a picture reduced to fit its square

struct Gesture
{
    bool isWheel = false;
    Qt::MouseButton button = Qt::LeftButton;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    QPointF way;
    int notches = 0;
};

Gesture drag(double x, double y, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {})
{
    return {false, button, modifiers, QPointF(x, y), 0};
}

Gesture wheel(int notches, Qt::KeyboardModifiers modifiers = {})
{
    return {true, Qt::NoButton, modifiers, {}, notches};
}

QUndoStack& stack()
{
    return *CUndoRedo::GetInstance()->stack();
}

/// The part of the first picture's opaque pixels that another picture shows otherwise.
double changedPart(const QImage& first, const QImage& other)
{
    int opaque = 0;
    int changed = 0;
    for (int y = 0; y < first.height(); ++y) {
        for (int x = 0; x < first.width(); ++x) {
            if (qAlpha(first.pixel(x, y)) == 0)
                continue;
            ++opaque;
            changed += first.pixel(x, y) != other.pixel(x, y) ? 1 : 0;
        }
    }
    return opaque == 0 ? 0.0 : static_cast<double>(changed) / opaque;
}

QImage opaquePixels(const QImage& picture)
{
    QImage mask(picture.size(), QImage::Format_Grayscale8);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            mask.scanLine(y)[x] = qAlpha(picture.pixel(x, y)) != 0 ? 255 : 0;
    }
    return mask;
}

QImage pixelsInside(const QPainterPath& path, QSize size)
{
    QImage mask(size, QImage::Format_Grayscale8);
    mask.fill(Qt::black);
    QPainter painter(&mask);
    painter.fillPath(path, Qt::white);
    return mask;
}

/// How many pixels of one mask have none of the other within `reach`.
int strayPixels(const QImage& mask, const QImage& other, int reach)
{
    int count = 0;
    for (int y = 0; y < mask.height(); ++y) {
        for (int x = 0; x < mask.width(); ++x) {
            if (mask.constScanLine(y)[x] == 0)
                continue;
            bool found = false;
            for (int v = std::max(0, y - reach); !found && v <= std::min(mask.height() - 1, y + reach); ++v) {
                const uchar* row = other.constScanLine(v);
                const uchar* end = row + std::min(mask.width(), x + reach + 1);
                found = std::any_of(row + std::max(0, x - reach), end, [](uchar value) { return value != 0; });
            }
            count += found ? 0 : 1;
        }
    }
    return count;
}

} // namespace

Q_DECLARE_METATYPE(Gesture)

/// Gestures on a real model, and the walk back and forth through them.
class Gestures : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void gestureIsUndoneAndRedoneToThePixel_data();
    void gestureIsUndoneAndRedoneToThePixel();
    void tenGesturesAreUndoneAndRedoneToThePixel();
    void hitShapeFollowsTheDragAndItsUndo();

private:
    void perform(const Gesture& gesture);
    [[nodiscard]] int shapeFaults();

    std::unique_ptr<RealItem> m_real;
};

void Gestures::init()
{
    TestBase::init();
    m_real = std::make_unique<RealItem>(kItemSize);
    QVERIFY(m_real->load(QDir(QStringLiteral(OV3D_SAMPLES)).filePath(QStringLiteral("sample.glb"))));
    QCOMPARE(m_real->picture().size(), kItemSize);
}

void Gestures::cleanup()
{
    m_real.reset();
    TestBase::cleanup();
}

void Gestures::perform(const Gesture& gesture)
{
    constexpr int kMoves = 4;
    constexpr int kNotch = 120;
    const QPointF from = m_real->grip();
    if (gesture.isWheel) {
        for (int i = 0; i < std::abs(gesture.notches); ++i)
            m_real->turnWheel(from, gesture.notches > 0 ? kNotch : -kNotch, gesture.modifiers);
        return;
    }
    m_real->press(from, gesture.button, gesture.modifiers);
    for (int i = 1; i <= kMoves; ++i)
        m_real->move(from + gesture.way * i / kMoves);
    m_real->release(from + gesture.way);
}

/// Opaque pixels outside of the hit shape and points of the shape beside the picture, farther than a cell of the
/// reduced picture.
int Gestures::shapeFaults()
{
    const double cell = static_cast<double>(std::max(kItemSize.width(), kItemSize.height())) / kShapeLimit;
    const int reach = static_cast<int>(std::ceil(cell));
    const QImage picture = opaquePixels(m_real->picture());
    const QImage shape = pixelsInside(m_real->item().shape(), kItemSize);
    return strayPixels(picture, shape, reach) + strayPixels(shape, picture, reach);
}

void Gestures::gestureIsUndoneAndRedoneToThePixel_data()
{
    QTest::addColumn<Gesture>("gesture");
    QTest::newRow("left drag orbits") << drag(90, 40);
    QTest::newRow("right drag pans") << drag(70, -50, Qt::RightButton);
    QTest::newRow("control and left drag pans") << drag(-60, 40, Qt::LeftButton, Qt::ControlModifier);
    QTest::newRow("alt and left drag rolls") << drag(80, 60, Qt::LeftButton, Qt::AltModifier);
    QTest::newRow("shift and left drag dollies") << drag(0, 90, Qt::LeftButton, Qt::ShiftModifier);
    QTest::newRow("wheel zooms in") << wheel(1);
    QTest::newRow("wheel zooms out") << wheel(-1);
    QTest::newRow("shift and wheel zooms finely") << wheel(1, Qt::ShiftModifier);
}

void Gestures::gestureIsUndoneAndRedoneToThePixel()
{
    QFETCH(Gesture, gesture);
    const QImage before = m_real->picture();

    perform(gesture);
    QVERIFY(RealItem::settle());
    const QImage after = m_real->picture();
    QCOMPARE(stack().count(), 1);
    QVERIFY2(changedPart(before, after) >= 0.1, qPrintable(QString::number(changedPart(before, after))));

    stack().undo();
    QVERIFY(RealItem::settle());
    QCOMPARE(m_real->picture(), before);

    stack().redo();
    QVERIFY(RealItem::settle());
    QCOMPARE(m_real->picture(), after);
}

void Gestures::tenGesturesAreUndoneAndRedoneToThePixel()
{
    const QVector<Gesture> gestures = {
        drag(60, 20),
        wheel(1),
        drag(-40, 30, Qt::RightButton),
        drag(50, 40, Qt::LeftButton, Qt::AltModifier),
        drag(0, 50, Qt::LeftButton, Qt::ShiftModifier),
        drag(-90, -30),
        wheel(-1, Qt::ShiftModifier),
        drag(30, -20, Qt::LeftButton, Qt::ControlModifier),
        wheel(-1),
        drag(20, 70),
    };
    QVector<QImage> pictures{m_real->picture()};
    for (const Gesture& gesture : gestures) {
        perform(gesture);
        QVERIFY(RealItem::settle());
        pictures << m_real->picture();
        QVERIFY2(pictures.last() != pictures[pictures.size() - 2],
                 qPrintable(QStringLiteral("gesture %1").arg(pictures.size() - 1)));
        QCOMPARE(stack().count(), pictures.size() - 1);
    }
    QCOMPARE(stack().count(), gestures.size());

    for (int i = gestures.size() - 1; i >= 0; --i) {
        stack().undo();
        QVERIFY(RealItem::settle());
        QVERIFY2(m_real->picture() == pictures[i], qPrintable(QStringLiteral("undo to picture %1").arg(i)));
    }
    for (int i = 1; i <= gestures.size(); ++i) {
        stack().redo();
        QVERIFY(RealItem::settle());
        QVERIFY2(m_real->picture() == pictures[i], qPrintable(QStringLiteral("redo to picture %1").arg(i)));
    }
}

void Gestures::hitShapeFollowsTheDragAndItsUndo()
{
    const QVector<Gesture> gestures = {drag(120, 60), drag(90, -60, Qt::RightButton)};
    for (const Gesture& gesture : gestures) {
        QVERIFY(waitFor([this] { return shapeFaults() == 0; }));
        const QPainterPath before = m_real->item().shape();

        perform(gesture);
        QVERIFY(RealItem::settle());
        QVERIFY(waitFor([this] { return shapeFaults() == 0; }));
        QVERIFY(m_real->item().shape() != before);

        stack().undo();
        QVERIFY(RealItem::settle());
        QVERIFY(waitFor([this] { return shapeFaults() == 0; }));
        QCOMPARE(m_real->item().shape(), before);
    }
}

OV3D_TEST_MAIN(Gestures)
#include "gestures.moc"
