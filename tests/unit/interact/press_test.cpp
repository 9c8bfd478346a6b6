#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/interact/gestures.h"

#include <cstring>
#include <limits>

namespace {

constexpr int kPrevious = 77; ///< a modifier code that no press chooses

} // namespace

class PressTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void recordIsFilledWhole();
    void positionIsTruncatedTowardZero();
    void unrepresentablePositionsStayDefined();
    void pressSelectsTheItemFirst();
    void unselectedItemSendsAndStoresNothing();
    void lockedItemSendsAndStoresNothing();
    void pressedStateIsSetBeforeTheViewerHears();
    void dragKindChangesAfterTheRecordIsSent();
    void snapshotIsTakenFortyMillisecondsAfterTheRecord();
    void snapshotHoldsWhatTheViewerDidDuringTheSleep();
    void otherViewTypesAreNotSuspended();
    void withoutLiveBlocksTheItemsOwnSettingsDecide();
};

void PressTest::recordIsFilledWhole()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    ViewContext& context = gestures.item->m_context;
    context.wheel_dx = 5.0f;
    context.wheel_dy = 5.0f;
    context.mouse_pending = 0;
    gestures.press(QPointF(10, 20));
    const ViewContext sent = fixture.viewer.lastCall().context;
    QCOMPARE(sent.mouse_type, std::int32_t{kMouseButtonDown});
    QCOMPARE(sent.mouse_x, 10);
    QCOMPARE(sent.mouse_y, 20);
    QCOMPARE(sent.mouse_buttons, 1);
    QCOMPARE(sent.mouse_count, 1);
    QCOMPARE(sent.wheel_dx, 0.0f);
    QCOMPARE(sent.wheel_dy, 0.0f);
    QCOMPARE(int{sent.mouse_pending}, 1);
    QCOMPARE(gestures.item->m_pressPos, QPointF(10, 20));

    // A right drag fills the same fields.
    context.wheel_dy = 5.0f;
    context.mouse_pending = 0;
    gestures.press(QPointF(11, 21), Qt::RightButton);
    const ViewContext right = fixture.viewer.lastCall().context;
    QCOMPARE(right.mouse_type, std::int32_t{kMouseButtonDown});
    QCOMPARE(right.mouse_x, 11);
    QCOMPARE(right.mouse_y, 21);
    QCOMPARE(right.mouse_buttons, 1);
    QCOMPARE(right.mouse_count, 1);
    QCOMPARE(right.wheel_dy, 0.0f);
    QCOMPARE(int{right.mouse_pending}, 1);
}

void PressTest::positionIsTruncatedTowardZero()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10.9, -20.9));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_x, 10);
    QCOMPARE(fixture.viewer.lastCall().context.mouse_y, -20);
    QCOMPARE(gestures.item->m_pressPos, QPointF(10.9, -20.9));
}

void PressTest::unrepresentablePositionsStayDefined()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(1e300, -1e300));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_x, std::numeric_limits<int>::max());
    QCOMPARE(fixture.viewer.lastCall().context.mouse_y, std::numeric_limits<int>::min());
    gestures.press(QPointF(qQNaN(), 3));
    QCOMPARE(fixture.viewer.lastCall().context.mouse_x, 0);
}

void PressTest::pressSelectsTheItemFirst()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->setSelected(false);
    gestures.press(QPointF(10, 20));
    QVERIFY(gestures.item->isSelected());
    QCOMPARE(fixture.viewer.callCount(), 1);
    QCOMPARE(gestures.item->pos(), QPointF(0, 0));
}

void PressTest::unselectedItemSendsAndStoresNothing()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->setFlag(QGraphicsItem::ItemIsSelectable, false);
    item->m_context.op = 99;
    item->m_mouseModifiers = kPrevious;
    item->m_undoStatus = Gestures::status(3);
    gestures.press(QPointF(10, 20), Qt::RightButton, Qt::AltModifier);
    QVERIFY(!item->isSelected());
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(item->m_context.op, 99);
    QCOMPARE(item->m_mouseModifiers, kPrevious);
    QCOMPARE(item->m_pressPos, QPointF());
    QCOMPARE(item->m_dragKind, 1);
    QCOMPARE(Gestures::markOf(item->m_undoStatus), 3.0);
    QVERIFY(item->m_isPressed);
}

void PressTest::lockedItemSendsAndStoresNothing()
{
    for (const bool loaded : {true, false}) {
        ItemFixture fixture;
        const Gestures gestures(fixture);
        COv3DObject* item = gestures.item;
        item->m_isLoaded = loaded;
        item->setLocked(true);
        item->m_context.op = 99;
        item->m_undoStatus = Gestures::status(3);
        gestures.press(QPointF(10, 20), Qt::RightButton);
        QCOMPARE(fixture.viewer.callCount(), 0);
        QCOMPARE(item->m_context.op, 99);
        QCOMPARE(item->m_pressPos, QPointF());
        QCOMPARE(item->m_dragKind, 1);
        QCOMPARE(Gestures::markOf(item->m_undoStatus), 3.0);
        QVERIFY(item->m_isPressed);
    }
}

void PressTest::pressedStateIsSetBeforeTheViewerHears()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    bool wasPressed = false;
    fixture.viewer.setOnCall([&](ViewContext&) { wasPressed = gestures.item->m_isPressed; });
    gestures.press(QPointF(10, 20));
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(wasPressed);
}

void PressTest::dragKindChangesAfterTheRecordIsSent()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    int kindAtCall = 0;
    fixture.viewer.setOnCall([&](ViewContext&) { kindAtCall = gestures.item->m_dragKind; });
    gestures.press(QPointF(10, 20), Qt::RightButton);
    fixture.viewer.setOnCall(nullptr);
    QCOMPARE(kindAtCall, 1);
    QCOMPARE(gestures.item->m_dragKind, 2);
}

void PressTest::snapshotIsTakenFortyMillisecondsAfterTheRecord()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.scene_status = Gestures::status(1);
    fixture.viewer.setOnCall([](ViewContext& context) { context.scene_status = Gestures::status(2); });
    gestures.press(QPointF(10, 20));
    const auto end = ScriptedViewer::Clock::now();
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(end - fixture.viewer.lastCall().time >= std::chrono::milliseconds(40));
    QCOMPARE(Gestures::markOf(item->m_undoStatus), 2.0);
    QCOMPARE(std::memcmp(&item->m_undoStatus, &item->m_context.scene_status, sizeof item->m_undoStatus), 0);
}

void PressTest::otherViewTypesAreNotSuspended()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->m_context.view_settings->view_type = 4;
    gestures.press(QPointF(10, 20), Qt::LeftButton, Qt::AltModifier);
    QCOMPARE(gestures.item->m_context.view_settings->view_type, 4);
    QCOMPARE(gestures.item->m_viewTypeRestore, 0);
}

void PressTest::withoutLiveBlocksTheItemsOwnSettingsDecide()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->setSelected(true);
    const Gestures gestures(fixture);
    QGraphicsSceneMouseEvent event(QEvent::GraphicsSceneMousePress);
    event.setButton(Qt::MiddleButton);
    item->m_viewSettings.view_type = 5;
    item->m_lightingSettings.sun_follow = true;
    item->m_mouseModifiers = kPrevious;
    item->mousePressEvent(&event);
    QCOMPARE(item->m_mouseModifiers, kPrevious);
    item->m_lightingSettings.sun_follow = false;
    item->mousePressEvent(&event);
    QCOMPARE(item->m_mouseModifiers, 4);
    event.setButton(Qt::LeftButton);
    event.setModifiers(Qt::AltModifier);
    item->mousePressEvent(&event);
    QCOMPARE(item->m_mouseModifiers, 3);
    // Nothing runs that could be suspended, and nothing could put it back.
    QCOMPARE(item->m_viewSettings.view_type, 5);
    QCOMPARE(item->m_viewTypeRestore, 0);
    QCOMPARE(fixture.viewer.callCount(), 0);
}

void PressTest::snapshotHoldsWhatTheViewerDidDuringTheSleep()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    QVERIFY(withLateStatus(fixture, gestures.item, 9, 1, [&] { gestures.press(QPointF(10, 20)); }));
    QCOMPARE(Gestures::markOf(gestures.item->m_undoStatus), 9.0);
}

OV3D_TEST_MAIN(PressTest)
#include "press_test.moc"
