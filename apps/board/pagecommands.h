#pragma once

#include "apps/board/itemholder.h"
#include "apps/board/selectionframe.h"
#include "host/framework/framework.h"

#include <QList>
#include <QPointer>

namespace ov3d::apps {

/// Puts an item on a page, or takes it off. An item that comes back lies where it lay, below the same items.
class PresenceCommand : public CWbUndoCmd
{
public:
    enum class Kind
    {
        insertion,
        removal,
    };

    PresenceCommand(COvPage* page, SharedItem item, Kind kind);

    void undo() override;
    void redo() override;

private:
    void setPresent(bool present);

    COvPage* m_page;
    SharedItem m_item;
    Kind m_kind;
    QList<QPointer<CBaseObject>> m_above; ///< what lay above the item when it was taken off, the lowest first
};

/// Locks an item, or unlocks it.
class LockCommand : public CWbUndoCmd
{
public:
    LockCommand(CBaseObject* item, bool locked);

    void undo() override;
    void redo() override;

private:
    void apply(bool locked);

    QPointer<CBaseObject> m_item;
    bool m_locked;
};

/// Moves an item and changes its size. The first redo finds it done already.
class FrameCommand : public CWbUndoCmd
{
public:
    FrameCommand(CBaseObject* item, const QRectF& before, const QRectF& after);

    void undo() override;
    void redo() override;

private:
    QPointer<CBaseObject> m_item;
    QRectF m_before;
    QRectF m_after;
    bool m_redoArmed = false;
};

/// Gives an item a place and a size the way a host does. The item may raise its width; then the side or corner opposite
/// to `part` keeps its place.
void applyFrame(CBaseObject& item, const QRectF& frame, FramePart part = FramePart::none);

/// Remembers, before an item is loaded, how large its picture can become: a viewer's frames never outgrow the memory
/// that the item had when its run began.
void rememberFrameLimits(CBaseObject& item);

/// What the item may be resized to.
FrameLimits frameLimits(const CBaseObject& item);

} // namespace ov3d::apps
