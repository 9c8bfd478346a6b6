#pragma once

#include "host/framework/frameworkexport.h"

#include <QPointer>
#include <QUndoCommand>
#include <QUndoStack>

class ILocalize;

/// Base of the undo commands of the editor and its plug-ins. GUI thread.
class OV_FRAMEWORK_EXPORT CWbUndoCmd : public QUndoCommand
{
public:
    explicit CWbUndoCmd(QUndoCommand* parent = nullptr);
    ~CWbUndoCmd() override;

    /// A number that the editor gives the command; -1 until then.
    virtual int getIdxCmd();
    virtual void setIdxCmd(int index);

    /// The visible name: the command's text, taken as a text id. Without a localisation, the text as it stands.
    [[nodiscard]] virtual QString getActionName(ILocalize* localize) const;

private:
    int m_index = -1;
};

/// The way to the undo stack of the document that is being worked on. GUI thread.
class OV_FRAMEWORK_EXPORT CUndoRedo
{
public:
    /// Never null.
    [[nodiscard]] static CUndoRedo* GetInstance();

    /// Puts a command on the active stack, which calls its redo() once and owns it from then on. Null does nothing.
    void push(QUndoCommand* command);

    /// The active document's stack; a stack of the library's own while there is none. Never null.
    [[nodiscard]] QUndoStack* stack();

    /// Makes a stack the active one; null, or the stack's end, goes back to the library's own.
    void setActiveStack(QUndoStack* stack);

private:
    CUndoRedo() = default;

    QPointer<QUndoStack> m_active;
    QUndoStack m_fallback;
};
