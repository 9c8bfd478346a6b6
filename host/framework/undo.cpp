#include "host/framework/undo.h"

#include "host/framework/services.h"

CWbUndoCmd::CWbUndoCmd(QUndoCommand* parent)
    : QUndoCommand(parent)
{
}

CWbUndoCmd::~CWbUndoCmd() = default;

int CWbUndoCmd::getIdxCmd()
{
    return m_index;
}

void CWbUndoCmd::setIdxCmd(int index)
{
    m_index = index;
}

QString CWbUndoCmd::getActionName(ILocalize* localize) const
{
    return localize ? localize->text(text()) : text();
}

CUndoRedo* CUndoRedo::GetInstance()
{
    // Never destroyed: a static's end would come after the application's, with commands of unloaded code on the stack.
    static auto* const instance = new CUndoRedo;
    return instance;
}

void CUndoRedo::push(QUndoCommand* command)
{
    if (command)
        stack()->push(command);
}

QUndoStack* CUndoRedo::stack()
{
    return m_active ? m_active.data() : &m_fallback;
}

void CUndoRedo::setActiveStack(QUndoStack* stack)
{
    m_active = stack;
}
