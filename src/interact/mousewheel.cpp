#include "src/interact/objectcommand.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/mouserecord.h"

#include <QDebug>
#include <QGraphicsSceneHoverEvent>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QPointer>
#include <QThread>

#include <cmath>
#include <memory>

namespace {

constexpr unsigned long kViewerPauseMs = 40; ///< so that the viewer has acted before the next snapshot
constexpr unsigned long kMiddleReleasePauseMs = 10;
constexpr int kTurntable = 5; ///< the view type that a gesture suspends
constexpr int kLeftDrag = 1;
constexpr int kRightDrag = 2;
constexpr float kWheelStep = 2.0f;
constexpr double kClickDistance = 1.0; ///< item units; a longer way is a drag
constexpr int kFrameNotice = 1002;

/// Whether a press drags with the right button. `modifiers` is the event's whole set: Shift+Alt is neither.
bool isRightDrag(Qt::KeyboardModifiers modifiers, Qt::MouseButton button)
{
    if (modifiers == Qt::ControlModifier)
        return true;
    return button == Qt::RightButton;
}

std::int32_t recordButton(int dragKind)
{
    if (dragKind == kLeftDrag)
        return kRecordLeftButton;
    return dragKind == kRightDrag ? kRecordRightButton : dragKind;
}

double manhattanDistance(QPointF a, QPointF b)
{
    return std::abs(a.x() - b.x()) + std::abs(a.y() - b.y());
}

using RestoreFunction = void (COv3DObject::*)(OV3DOBJECT::SceneStatus&);

/// A function for an undo command. It works on a copy of the command's status, and does nothing once the item is gone.
C3DObjectCommand::Restore restoreThrough(COv3DObject* item, RestoreFunction function)
{
    return [item = QPointer<COv3DObject>(item), function](OV3DOBJECT::SceneStatus status) {
        if (item)
            (item->*function)(status);
    };
}

/// Sets a turntable still for the length of a gesture. @return whether it was turning.
bool suspendTurntable(COv3DObject& item, bool zeroViewType)
{
    ViewSettings* view = item.m_context.view_settings;
    if (!view || view->view_type != kTurntable)
        return false;
    item.m_savedViewType = kTurntable;
    item.m_viewTypeRestore = 1;
    if (zeroViewType)
        view->view_type = 0;
    return true;
}

void chooseModifierCode(COv3DObject& item, Qt::KeyboardModifiers modifiers, Qt::MouseButton button)
{
    if (modifiers == Qt::AltModifier) {
        suspendTurntable(item, true);
        item.m_mouseModifiers = kModifierAlt;
    } else if (button == Qt::MiddleButton) {
        const LightingSettings* live = item.m_context.lighting_settings;
        if (live ? live->sun_follow : item.m_lightingSettings.sun_follow)
            return; // the previous code stays
        item.m_mouseModifiers = kModifierMiddleButton;
        if (suspendTurntable(item, true))
            item.m_context.op = kOperationApplyViewType;
    } else if (modifiers == Qt::ShiftModifier && button == Qt::LeftButton) {
        item.m_mouseModifiers = kModifierShift;
    } else {
        item.m_mouseModifiers = kModifierNone;
    }
}

} // namespace

void COv3DObject::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    m_isPressed = true;
    CBaseObject::mousePressEvent(event);
    if (!isSelected() || isLocked())
        return;

    m_context.op = kOperationInput;
    m_pressPos = event->pos();
    chooseModifierCode(*this, event->modifiers(), event->button());

    MouseRecord record = MouseRecord::forButton(kMouseButtonDown, event->pos());
    if (isRightDrag(event->modifiers(), event->button())) {
        m_context.op = kOperationInput;
        record.button = kRecordRightButton;
        sendMouseRecord(record);
        m_dragKind = kRightDrag;
    } else {
        record.modifiers = m_mouseModifiers;
        sendMouseRecord(record);
        m_dragKind = kLeftDrag;
    }
    QThread::msleep(kViewerPauseMs);
    m_undoStatus = m_context.scene_status;
}

void COv3DObject::mouseMoveEvent(QGraphicsSceneMouseEvent* event)
{
    if (!isSelected())
        return;
    m_context.op = kOperationInput;
    MouseRecord record = MouseRecord::forButton(kMouseDrag, event->pos());
    record.button = recordButton(m_dragKind);
    sendMouseRecord(record);
    QThread::msleep(kViewerPauseMs);
}

void COv3DObject::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    CBaseObject::mouseReleaseEvent(event);
    if (!isSelected())
        return;
    if (m_viewTypeRestore == 1) {
        if (m_context.view_settings)
            m_context.view_settings->view_type = m_savedViewType;
        m_viewTypeRestore = 0;
        m_context.op = kOperationApplyViewType;
        update_view(&m_context);
        m_context.op = kOperationInput;
    }
    // The record names the left button whatever was released; viewers end any drag on it.
    sendMouseRecord(MouseRecord::forButton(kMouseButtonUp, event->pos()));

    if (event->button() == Qt::MiddleButton) {
        QThread::msleep(kMiddleReleasePauseMs);
        fakeMouseEvent();
    }
    QThread::msleep(kViewerPauseMs);
    m_isPressed = false;
    m_mouseModifiers = kModifierNone;

    if (manhattanDistance(m_pressPos, event->pos()) > kClickDistance) {
        auto command = std::make_unique<C3DObjectCommand>(restoreThrough(this, &COv3DObject::undoScene),
                                                          restoreThrough(this, &COv3DObject::redoScene), nullptr);
        m_redoStatus = m_context.scene_status;
        command->m_undoStatus = m_undoStatus;
        command->m_redoStatus = m_redoStatus;
        CUndoRedo::GetInstance()->push(command.release());
    }
}

void COv3DObject::hoverMoveEvent(QGraphicsSceneHoverEvent* event)
{
    CBaseObject::hoverMoveEvent(event);
}

void COv3DObject::wheelEvent(QGraphicsSceneWheelEvent* event)
{
    // Not passed on and not ignored: the event stays accepted, as the scene delivered it.
    if (!isSelected() || isLocked())
        return;

    m_undoStatus = m_context.scene_status;
    m_context.op = kOperationInput;
    m_mouseModifiers = kModifierNone;
    if (event->modifiers() == Qt::ShiftModifier) {
        m_mouseModifiers = kModifierShift;
        // Unlike a press, a notch leaves the view type itself as it is.
        if (suspendTurntable(*this, false))
            m_context.op = kOperationApplyViewType;
    }
    qDebug() << "[whell_call call]" << whell_call;
    ++whell_call;

    const float step = event->delta() > 0 ? kWheelStep : -kWheelStep;
    sendMouseRecord(MouseRecord::forWheel(event->pos(), m_mouseModifiers, step));
    event->accept();
    notifyObjPropertyChanged(kFrameNotice, QString());

    if (m_viewTypeRestore == 1) {
        if (m_context.view_settings)
            m_context.view_settings->view_type = m_savedViewType;
        m_viewTypeRestore = 0;
    }
    QThread::msleep(kViewerPauseMs);

    // Both ways through undoScene, on purpose: a wheel step's redo also applies the material again.
    auto command = std::make_unique<C3DObjectCommand>(restoreThrough(this, &COv3DObject::undoScene),
                                                      restoreThrough(this, &COv3DObject::undoScene), nullptr);
    m_redoStatus = m_context.scene_status;
    command->m_undoStatus = m_undoStatus;
    command->m_redoStatus = m_redoStatus;
    CUndoRedo::GetInstance()->push(command.release());
}
