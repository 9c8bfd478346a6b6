#pragma once

#include "host/framework/framework.h"
#include "src/render/viewcontext.h"

#include <functional>

/// One gesture on the host's undo stack: the scene status before and after it, and what puts a status back. GUI thread.
class C3DObjectCommand : public CWbUndoCmd
{
public:
    using Restore = std::function<void(OV3DOBJECT::SceneStatus&)>;

    /// The statuses are filled by the creator afterwards. Empty functions raise std::bad_function_call when they are
    /// needed.
    C3DObjectCommand(Restore undo, Restore redo, QUndoCommand* parent);
    ~C3DObjectCommand() override;

    void undo() override;
    /// The first call only arms the command: a stack redoes a command once when it is pushed, and the view already
    /// shows the new state.
    void redo() override;

    Restore m_redo;
    Restore m_undo;
    OV3DOBJECT::SceneStatus m_undoStatus{}; ///< before the gesture
    OV3DOBJECT::SceneStatus m_redoStatus{}; ///< after it
    bool m_redoArmed = false;
};
