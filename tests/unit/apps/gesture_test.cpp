#include "apps/cli/gesture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

using namespace ov3d::apps;

class GestureTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void dragHasTwoPositionsAButtonAndAModifier_data();
    void dragHasTwoPositionsAButtonAndAModifier();
    void wheelHasNotchesAndAPosition_data();
    void wheelHasNotchesAndAPosition();
    void undoAndRedoStandAlone();
    void anythingElseIsRefusedWithTheText_data();
    void anythingElseIsRefusedWithTheText();
};

void GestureTest::dragHasTwoPositionsAButtonAndAModifier_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QPointF>("from");
    QTest::addColumn<QPointF>("to");
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("modifiers");
    const int left = Qt::LeftButton;
    const int none = int(Qt::NoModifier);
    QTest::newRow("the left button is the default")
        << "drag:1,2-30,40" << QPointF(1, 2) << QPointF(30, 40) << left << none;
    QTest::newRow("left can be said") << "drag:1,2-3,4:left" << QPointF(1, 2) << QPointF(3, 4) << left << none;
    QTest::newRow("right button") << "drag:1,2-3,4:right" << QPointF(1, 2) << QPointF(3, 4) << int(Qt::RightButton)
                                  << none;
    QTest::newRow("middle button") << "drag:1,2-3,4:middle" << QPointF(1, 2) << QPointF(3, 4) << int(Qt::MiddleButton)
                                   << none;
    QTest::newRow("modifier without a button")
        << "drag:1,2-3,4:shift" << QPointF(1, 2) << QPointF(3, 4) << left << int(Qt::ShiftModifier);
    QTest::newRow("button, then modifier")
        << "drag:1,2-3,4:right:alt" << QPointF(1, 2) << QPointF(3, 4) << int(Qt::RightButton) << int(Qt::AltModifier);
    QTest::newRow("ctrl") << "drag:1,2-3,4:left:ctrl" << QPointF(1, 2) << QPointF(3, 4) << left
                          << int(Qt::ControlModifier);
    QTest::newRow("positions may be negative and broken")
        << "drag:-1.5,2--30.25,-4" << QPointF(-1.5, 2) << QPointF(-30.25, -4) << left << none;
}

void GestureTest::dragHasTwoPositionsAButtonAndAModifier()
{
    QFETCH(QString, text);
    QFETCH(QPointF, from);
    QFETCH(QPointF, to);
    QFETCH(int, button);
    QFETCH(int, modifiers);
    Gesture gesture;
    QString error;
    QVERIFY2(parseGesture(text, gesture, error), qPrintable(error));
    const auto* drag = std::get_if<DragGesture>(&gesture);
    QVERIFY(drag);
    QCOMPARE(drag->from, from);
    QCOMPARE(drag->to, to);
    QCOMPARE(int(drag->button), button);
    QCOMPARE(int(drag->modifiers), modifiers);
}

void GestureTest::wheelHasNotchesAndAPosition_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("notches");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("away from the hand") << "wheel:3@10,20" << 3 << int(Qt::NoModifier);
    QTest::newRow("a plus is allowed") << "wheel:+3@10,20" << 3 << int(Qt::NoModifier);
    QTest::newRow("towards the hand") << "wheel:-2@10,20" << -2 << int(Qt::NoModifier);
    QTest::newRow("with shift") << "wheel:1@10,20:shift" << 1 << int(Qt::ShiftModifier);
}

void GestureTest::wheelHasNotchesAndAPosition()
{
    QFETCH(QString, text);
    QFETCH(int, notches);
    QFETCH(int, modifiers);
    Gesture gesture;
    QString error;
    QVERIFY2(parseGesture(text, gesture, error), qPrintable(error));
    const auto* wheel = std::get_if<WheelGesture>(&gesture);
    QVERIFY(wheel);
    QCOMPARE(wheel->notches, notches);
    QCOMPARE(wheel->position, QPointF(10, 20));
    QCOMPARE(int(wheel->modifiers), modifiers);
}

void GestureTest::undoAndRedoStandAlone()
{
    Gesture gesture;
    QString error;
    QVERIFY(parseGesture(QStringLiteral("undo"), gesture, error));
    QVERIFY(std::holds_alternative<UndoGesture>(gesture));
    QVERIFY(parseGesture(QStringLiteral("redo"), gesture, error));
    QVERIFY(std::holds_alternative<RedoGesture>(gesture));
}

void GestureTest::anythingElseIsRefusedWithTheText_data()
{
    QTest::addColumn<QString>("text");
    for (const char* text : {"",
                             "drag",
                             "drag:",
                             "drag:1,2",
                             "drag:1,2-3",
                             "drag:1,2-3,4:",
                             "drag:1,2-3,4:shift:left",
                             "drag:1,2-3,4:left:left",
                             "drag:1,2-3,4:LEFT",
                             "drag:1,2-3,4:meta",
                             "drag:1e3,2-3,4",
                             "drag:nan,2-3,4",
                             "drag:1,2-3,4 ",
                             "wheel:1",
                             "wheel:1@2",
                             "wheel:0@1,2",
                             "wheel:201@1,2",
                             "wheel:1.5@1,2",
                             "wheel:1@1,2:alt",
                             "undo:1",
                             "Undo",
                             "pinch:1,2-3,4"})
        QTest::newRow(*text ? text : "empty") << QString::fromLatin1(text);
}

void GestureTest::anythingElseIsRefusedWithTheText()
{
    QFETCH(QString, text);
    Gesture gesture;
    QString error;
    QVERIFY(!parseGesture(text, gesture, error));
    QVERIFY2(error.contains(QLatin1Char('"') + text + QLatin1Char('"')), qPrintable(error));
}

OV3D_TEST_MAIN(GestureTest)
#include "gesture_test.moc"
