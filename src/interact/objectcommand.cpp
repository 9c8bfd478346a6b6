#include "src/interact/objectcommand.h"

#include "src/plugin/ov3dobject.h"

#include <utility>

C3DObjectCommand::C3DObjectCommand(Restore undo, Restore redo, QUndoCommand* parent)
    : CWbUndoCmd(parent)
    , m_redo(std::move(redo))
    , m_undo(std::move(undo))
{
    setText(QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
}

C3DObjectCommand::~C3DObjectCommand() = default;

void C3DObjectCommand::undo()
{
    m_undo(m_undoStatus);
}

void C3DObjectCommand::redo()
{
    if (!m_redoArmed) {
        m_redoArmed = true;
        return;
    }
    m_redo(m_redoStatus);
}

void COv3DObject::undoScene(OV3DOBJECT::SceneStatus& status)
{
    m_context.op = kOperationRestore;
    if (m_context.view_settings)
        m_context.view_settings->reset_camera = false;
    if (m_context.material_settings)
        m_context.material_settings->material_update = true;
    m_context.scene_status = status;
    update_view(&m_context);
}

void COv3DObject::redoScene(OV3DOBJECT::SceneStatus& status)
{
    m_context.op = kOperationRestore;
    m_context.scene_status = status;
    update_view(&m_context);
}
