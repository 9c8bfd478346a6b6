#pragma once

#include "src/render/viewcontext.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ov3d::viewercheck {

/// One access of the viewer to memory that was watched at that moment, as the processor reported it: it is recorded
/// before it takes effect, and then let through.
struct Access
{
    std::ptrdiff_t offset = 0; ///< from the beginning of the memory; outside of it in a guard page
    bool isWrite = false;
    bool isClosed = false;        ///< nothing at all was allowed there
    bool inRequest = false;       ///< a request for this item was running, on whatever thread
    bool firstDraw = false;       ///< the item's first_draw at that moment
    std::int32_t frameWidth = -1; ///< the item's frame_width at that moment
    std::int64_t nanoseconds = 0; ///< steady clock
};

/// What an access records of its item.
struct ItemState
{
    const ViewContext* context = nullptr; ///< the host's view of it
    const int* requestsRunning = nullptr; ///< accessed atomically
};

/// Memory that the host and the viewer see at two addresses, so that the viewer's view can be protected while the
/// host's stays open: every access that breaks the protection is recorded to the instruction.
///
/// It lies between guard zones of a megabyte; with a size of whole pages the zone begins right behind it. Never given
/// back: a viewer may hold its address for ever. One thread makes and protects; any thread may access.
class WatchedMemory
{
public:
    enum class Policy
    {
        everyAccess, ///< each access is recorded, single-stepped, and the protection comes back at once
        firstOfPage, ///< an access opens its page until the next protect(): for memory that is written in bulk
    };

    enum class Protection
    {
        open,
        readOnly,
        closed,
    };

    WatchedMemory(std::size_t size, Policy policy, const ItemState& state);
    WatchedMemory(const WatchedMemory&) = delete;
    WatchedMemory& operator=(const WatchedMemory&) = delete;

    [[nodiscard]] bool isOpen() const { return m_host != nullptr; } ///< false: the system gave no memory
    [[nodiscard]] std::byte* host() const { return m_host; }
    [[nodiscard]] std::byte* viewer() const { return m_viewer; }
    [[nodiscard]] std::size_t size() const { return m_size; }

    void protect(Protection protection);

    /// What was recorded so far, in order; at most some thousands.
    [[nodiscard]] std::vector<Access> accesses() const;

    /// Index of the next access to come, to look at later ones alone.
    [[nodiscard]] std::size_t mark() const { return accesses().size(); }

private:
    std::byte* m_host = nullptr;
    std::byte* m_viewer = nullptr;
    std::size_t m_size = 0;
    int m_region = -1;
};

} // namespace ov3d::viewercheck
