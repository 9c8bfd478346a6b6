#pragma once

#include "apps/board/itemholder.h"
#include "apps/board/selectionframe.h"
#include "apps/document/documentpages.h"
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

/// Puts a page into the document, or takes it away with everything that is on it. A page that comes back is as it was.
class PagePresenceCommand : public CWbUndoCmd
{
public:
    enum class Kind
    {
        insertion,
        removal,
    };

    /// @param pages  outlives the command.
    /// @param index  where the page is, or is to be.
    PagePresenceCommand(DocumentPages& pages, SharedPage page, int index, Kind kind);

    /// The page that a step of undo, or of redo, takes away; null when it brings one.
    [[nodiscard]] const COvPage* pageTakenBy(bool undo) const;

    void undo() override;
    void redo() override;

private:
    void setPresent(bool present);

    DocumentPages& m_pages;
    SharedPage m_page;
    int m_index;
    Kind m_kind;
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
