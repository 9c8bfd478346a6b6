#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/interact/gestures.h"

#include <memory>

namespace {

constexpr int kPrevious = 77; ///< a modifier code that no press chooses

struct Expected
{
    bool isRight;
    int recordModifiers;
    int code; ///< `m_mouseModifiers` afterwards; kPrevious: left alone
    int op;
    int viewType; ///< what the viewer finds
};

} // namespace
Q_DECLARE_METATYPE(Expected)

/// What every combination of modifiers and buttons is sent as. One item serves all rows: a release takes 300 ms.
class PressTableTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_fixture = std::make_unique<ItemFixture>();
        m_gestures = std::make_unique<Gestures>(*m_fixture);
    }
    void cleanupTestCase()
    {
        m_gestures.reset();
        m_fixture.reset();
    }

    void modifiersAndButtonChooseCodeAndDragKind_data();
    void modifiersAndButtonChooseCodeAndDragKind();

private:
    std::unique_ptr<ItemFixture> m_fixture;
    std::unique_ptr<Gestures> m_gestures;
};

void PressTableTest::modifiersAndButtonChooseCodeAndDragKind_data()
{
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<int>("button");
    QTest::addColumn<bool>("turntable");
    QTest::addColumn<bool>("sunFollow");
    QTest::addColumn<Expected>("expected");

    struct Combination
    {
        const char* name;
        int modifiers;
        int button;
        bool isRight;
        int recordModifiers;
        int code;
        bool suspends; ///< a turntable, unless a middle button meets sun_follow
    };
    const int alt = Qt::AltModifier;
    const int control = Qt::ControlModifier;
    const int shift = Qt::ShiftModifier;
    const int left = Qt::LeftButton;
    const int right = Qt::RightButton;
    const int middle = Qt::MiddleButton;
    const Combination combinations[] = {
        {"left", 0, left, false, 0, 0, false},
        {"right", 0, right, true, 0, 0, false},
        {"middle", 0, middle, false, 4, 4, true},
        {"Alt left", alt, left, false, 3, 3, true},
        {"Alt right", alt, right, true, 0, 3, true},
        {"Alt middle", alt, middle, false, 3, 3, true},
        {"Ctrl left", control, left, true, 0, 0, false},
        {"Ctrl right", control, right, true, 0, 0, false},
        {"Ctrl middle", control, middle, true, 0, 4, true},
        {"Shift left", shift, left, false, 1, 1, false},
        {"Shift right", shift, right, true, 0, 0, false},
        {"Shift middle", shift, middle, false, 4, 4, true},
        {"Shift Alt left", shift | alt, left, false, 0, 0, false},
        {"Shift Alt right", shift | alt, right, true, 0, 0, false},
        {"Shift Alt middle", shift | alt, middle, false, 4, 4, true},
        {"Ctrl Shift left", control | shift, left, false, 0, 0, false},
        {"Ctrl Alt right", control | alt, right, true, 0, 0, false},
        {"Ctrl Alt middle", control | alt, middle, false, 4, 4, true},
        {"Meta left", int{Qt::MetaModifier}, left, false, 0, 0, false},
        {"Meta right", int{Qt::MetaModifier}, right, true, 0, 0, false},
        {"keypad Alt left", int{Qt::KeypadModifier} | alt, left, false, 0, 0, false},
        {"another button", 0, int{Qt::BackButton}, false, 0, 0, false},
    };
    for (const Combination& row : combinations) {
        for (const bool turntable : {false, true}) {
            for (const bool sunFollow : {false, true}) {
                const bool isMiddleCase = row.button == middle && row.modifiers != alt;
                const bool keepsCode = isMiddleCase && sunFollow;
                const bool suspends = turntable && row.suspends && !keepsCode;
                Expected expected{row.isRight, row.recordModifiers, row.code, kOperationInput,
                                  turntable && !suspends ? 5 : 0};
                if (keepsCode) {
                    expected.code = kPrevious;
                    expected.recordModifiers = row.isRight ? 0 : kPrevious;
                }
                if (isMiddleCase && suspends && !row.isRight)
                    expected.op = kOperationApplyViewType;
                QTest::newRow(qPrintable(QStringLiteral("%1%2%3").arg(QLatin1String(row.name),
                                                                      QLatin1String(turntable ? ", turntable" : ""),
                                                                      QLatin1String(sunFollow ? ", sun follows" : ""))))
                    << row.modifiers << row.button << turntable << sunFollow << expected;
            }
        }
    }
}

void PressTableTest::modifiersAndButtonChooseCodeAndDragKind()
{
    QFETCH(int, modifiers);
    QFETCH(int, button);
    QFETCH(bool, turntable);
    QFETCH(bool, sunFollow);
    QFETCH(Expected, expected);
    COv3DObject* item = m_gestures->item;
    item->m_context.view_settings->view_type = turntable ? 5 : 0;
    item->m_context.lighting_settings->sun_follow = sunFollow;
    item->m_mouseModifiers = kPrevious;
    item->m_context.op = 99;
    item->m_viewTypeRestore = 0;
    item->m_savedViewType = 0;
    item->m_dragKind = 0;
    m_fixture->viewer.clearCalls();
    m_gestures->press(QPointF(10, 20), Qt::MouseButton(button), Qt::KeyboardModifiers(modifiers));

    QCOMPARE(m_fixture->viewer.callCount(), 1);
    const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
    QCOMPARE(call.context.mouse_button, expected.isRight ? 4 : 1);
    QCOMPARE(call.context.mouse_modifiers, expected.recordModifiers);
    QCOMPARE(call.context.op, expected.op);
    QCOMPARE(call.view.view_type, expected.viewType);
    QCOMPARE(item->m_mouseModifiers, expected.code);
    QCOMPARE(item->m_dragKind, expected.isRight ? 2 : 1);
    const bool suspended = turntable && expected.viewType == 0;
    QCOMPARE(item->m_viewTypeRestore, suspended ? 1 : 0);
    QCOMPARE(item->m_savedViewType, suspended ? 5 : 0);
}

OV3D_TEST_MAIN(PressTableTest)
#include "presstable_test.moc"
