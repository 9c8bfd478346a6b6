#include "src/interact/objectcommand.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/interact/gestures.h"

#include <cstring>
#include <functional>

namespace {

QUndoStack* undoStack()
{
    return CUndoRedo::GetInstance()->stack();
}

} // namespace

class UndoCommandTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void firstRedoOnlyArmsTheCommand();
    void undoAndRedoPassTheirOwnStatus();
    void undoBeforeTheFirstRedoWorks();
    void functionsWorkOnACopyOfTheStatus();
    void commandsAreNeverMerged();
    void textIsTheStringId();
    void emptyFunctionRaisesBadFunctionCall();
    void newCommandHoldsZeroStatuses();

    void undoOfADragRestoresTheStatusBeforeIt();
    void redoOfADragLeavesResetAndMaterialAlone();
    void undoSceneSendsTheWholeStatus();
    void lockedItemTakesTheStatusAndTellsNobody();
    void restoringBeforeTheLiveBlocksExistChangesNoSettings();
    void restoringNeverRecordsHistory();
    void entriesOfADeadItemDoNothing();
    void entriesOfADeadItemLeaveALivingOneAlone();
};

void UndoCommandTest::firstRedoOnlyArmsTheCommand()
{
    int undone = 0;
    int redone = 0;
    C3DObjectCommand command([&](OV3DOBJECT::SceneStatus) { ++undone; }, [&](OV3DOBJECT::SceneStatus) { ++redone; },
                             nullptr);
    QVERIFY(!command.m_redoArmed);
    command.redo();
    QVERIFY(command.m_redoArmed);
    QCOMPARE(redone, 0);
    command.undo();
    QCOMPARE(undone, 1);
    command.redo();
    command.redo();
    QCOMPARE(redone, 2);
}

void UndoCommandTest::undoAndRedoPassTheirOwnStatus()
{
    double undone = 0;
    double redone = 0;
    C3DObjectCommand command([&](OV3DOBJECT::SceneStatus& status) { undone = Gestures::markOf(status); },
                             [&](OV3DOBJECT::SceneStatus& status) { redone = Gestures::markOf(status); }, nullptr);
    command.m_undoStatus = Gestures::status(1);
    command.m_redoStatus = Gestures::status(2);
    command.redo();
    command.undo();
    command.redo();
    QCOMPARE(undone, 1.0);
    QCOMPARE(redone, 2.0);
}

void UndoCommandTest::undoBeforeTheFirstRedoWorks()
{
    int undone = 0;
    C3DObjectCommand command([&](OV3DOBJECT::SceneStatus) { ++undone; }, [](OV3DOBJECT::SceneStatus) {}, nullptr);
    command.undo();
    QCOMPARE(undone, 1);
    QVERIFY(!command.m_redoArmed);
}

void UndoCommandTest::functionsWorkOnACopyOfTheStatus()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.press(QPointF(10, 20));
    gestures.release(QPointF(50, 60));
    const auto* command = static_cast<const C3DObjectCommand*>(undoStack()->command(0));
    OV3DOBJECT::SceneStatus status = Gestures::status(4);
    command->m_undo(status);
    QCOMPARE(Gestures::markOf(gestures.item->m_context.scene_status), 4.0);
    QCOMPARE(Gestures::markOf(status), 4.0);
}

void UndoCommandTest::commandsAreNeverMerged()
{
    C3DObjectCommand first({}, {}, nullptr);
    const C3DObjectCommand second({}, {}, nullptr);
    QCOMPARE(first.id(), -1);
    QVERIFY(!first.mergeWith(&second));
}

void UndoCommandTest::textIsTheStringId()
{
    const C3DObjectCommand command({}, {}, nullptr);
    QCOMPARE(command.text(), QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
    QCOMPARE(command.getActionName(nullptr), QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
}

void UndoCommandTest::emptyFunctionRaisesBadFunctionCall()
{
    C3DObjectCommand command({}, {}, nullptr);
    QVERIFY_EXCEPTION_THROWN(command.undo(), std::bad_function_call);
    command.redo();
    QVERIFY_EXCEPTION_THROWN(command.redo(), std::bad_function_call);
}

void UndoCommandTest::newCommandHoldsZeroStatuses()
{
    const C3DObjectCommand command({}, {}, nullptr);
    const OV3DOBJECT::SceneStatus zero{};
    QCOMPARE(std::memcmp(&command.m_undoStatus, &zero, sizeof zero), 0);
    QCOMPARE(std::memcmp(&command.m_redoStatus, &zero, sizeof zero), 0);
}

void UndoCommandTest::undoOfADragRestoresTheStatusBeforeIt()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    COv3DObject* item = gestures.item;
    item->m_context.scene_status = Gestures::status(1);
    gestures.press(QPointF(10, 20));
    item->m_context.scene_status = Gestures::status(2);
    gestures.release(QPointF(50, 60));
    item->m_context.view_settings->reset_camera = true;
    item->m_context.material_settings->material_update = false;
    fixture.viewer.clearCalls();
    undoStack()->undo();
    QCOMPARE(fixture.viewer.callCount(), 1);
    const ScriptedViewer::Call call = fixture.viewer.lastCall();
    QCOMPARE(call.context.op, std::int32_t{kOperationRestore});
    QCOMPARE(Gestures::markOf(call.context.scene_status), 1.0);
    QVERIFY(!call.view.reset_camera);
    QVERIFY(call.material.material_update);
}

void UndoCommandTest::redoOfADragLeavesResetAndMaterialAlone()
{
    for (const bool value : {false, true}) {
        ItemFixture fixture;
        const Gestures gestures(fixture);
        COv3DObject* item = gestures.item;
        gestures.press(QPointF(10, 20));
        item->m_context.scene_status = Gestures::status(2);
        gestures.release(QPointF(50, 60));
        undoStack()->undo();
        item->m_context.view_settings->reset_camera = value;
        item->m_context.material_settings->material_update = value;
        fixture.viewer.clearCalls();
        undoStack()->redo();
        QCOMPARE(fixture.viewer.callCount(), 1);
        const ScriptedViewer::Call call = fixture.viewer.lastCall();
        QCOMPARE(call.context.op, std::int32_t{kOperationRestore});
        QCOMPARE(Gestures::markOf(call.context.scene_status), 2.0);
        QCOMPARE(call.view.reset_camera, value);
        QCOMPARE(call.material.material_update, value);
    }
}

void UndoCommandTest::undoSceneSendsTheWholeStatus()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    OV3DOBJECT::SceneStatus status{};
    auto* numbers = reinterpret_cast<double*>(&status);
    for (int i = 0; i < 47; ++i)
        numbers[i] = i + 0.25;
    gestures.item->undoScene(status);
    const OV3DOBJECT::SceneStatus undone = fixture.viewer.lastCall().context.scene_status;
    QCOMPARE(std::memcmp(&undone, &status, sizeof status), 0);
    gestures.item->m_context.scene_status = {};
    gestures.item->redoScene(status);
    const OV3DOBJECT::SceneStatus redone = fixture.viewer.lastCall().context.scene_status;
    QCOMPARE(std::memcmp(&redone, &status, sizeof status), 0);
}

void UndoCommandTest::lockedItemTakesTheStatusAndTellsNobody()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    gestures.item->setLocked(true);
    OV3DOBJECT::SceneStatus status = Gestures::status(6);
    gestures.item->undoScene(status);
    QCOMPARE(fixture.viewer.callCount(), 0);
    QCOMPARE(Gestures::markOf(gestures.item->m_context.scene_status), 6.0);
}

void UndoCommandTest::restoringBeforeTheLiveBlocksExistChangesNoSettings()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_viewSettings.reset_camera = true;
    OV3DOBJECT::SceneStatus status = Gestures::status(6);
    item->undoScene(status);
    item->redoScene(status);
    QVERIFY(item->m_viewSettings.reset_camera);
    QVERIFY(!item->m_materialSettings.material_update);
    QCOMPARE(Gestures::markOf(item->m_context.scene_status), 6.0);
    QCOMPARE(item->m_context.op, std::int32_t{kOperationRestore});
}

void UndoCommandTest::restoringNeverRecordsHistory()
{
    ItemFixture fixture;
    const Gestures gestures(fixture);
    OV3DOBJECT::SceneStatus status = Gestures::status(6);
    gestures.item->m_context.view_settings->reset_camera = true;
    gestures.item->undoScene(status);
    gestures.item->redoScene(status);
    QCOMPARE(gestures.item->m_viewQueue.size(), 0);
}

void UndoCommandTest::entriesOfADeadItemDoNothing()
{
    ItemFixture fixture;
    {
        const Gestures gestures(fixture);
        gestures.press(QPointF(10, 20));
        gestures.release(QPointF(50, 60));
        gestures.wheel(QPointF(10, 20), 120);
        fixture.release(gestures.item);
    }
    QCOMPARE(undoStack()->count(), 2);
    fixture.viewer.clearCalls();
    undoStack()->undo();
    undoStack()->undo();
    undoStack()->redo();
    undoStack()->redo();
    QCOMPARE(fixture.viewer.callCount(), 0);
}

void UndoCommandTest::entriesOfADeadItemLeaveALivingOneAlone()
{
    ItemFixture fixture;
    const Gestures living(fixture);
    {
        const Gestures dead(fixture);
        dead.wheel(QPointF(10, 20), 120);
        fixture.release(dead.item);
    }
    living.item->m_context.scene_status = Gestures::status(8);
    undoStack()->undo();
    QCOMPARE(Gestures::markOf(living.item->m_context.scene_status), 8.0);
}

OV3D_TEST_MAIN(UndoCommandTest)
#include "undocommand_test.moc"
