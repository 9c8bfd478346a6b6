#pragma once

class COv3DObject;

/// Holds an item's view mutex around a viewer call or the dump of its scene status.
///
/// A save that cannot create its scene-status file leaves `m_viewMutex` locked, and hosts see that. So that nothing
/// hangs for ever because of it, exclusion comes from a second mutex inside; the view mutex is taken with it unless it
/// has been left locked that way ("stranded"). A later save that succeeds gives it back.
class ViewLock
{
public:
    explicit ViewLock(COv3DObject& item);
    ~ViewLock();
    ViewLock(const ViewLock&) = delete;
    ViewLock& operator=(const ViewLock&) = delete;

    /// Leaves the view mutex locked when this lock ends.
    void strand();
    /// Unlocks the view mutex when this lock ends, also when an earlier one has left it locked.
    void recover();

private:
    COv3DObject& m_item;
};
