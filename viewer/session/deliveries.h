#pragma once

#include "viewer/protocol/messages.h"

#include <cstdint>
#include <optional>

namespace ov3d::session {

/// Keeps account of the pictures that a session owes its host. Knows numbers, not pixels; the caller serialises.
///
/// Each change of what is wanted is a new revision. A picture of the newest revision in final quality is at rest and is
/// written twice, since a host takes its hit shape from the frame that it painted before.
class Deliveries
{
public:
    /// Something else is wanted now.
    void change();

    /// The turntable has moved on: a new revision that nobody asked for.
    void turn() { ++m_wanted; }

    /// The picture at rest is to be written twice again, although nothing has changed.
    void repeat();

    /// The pixels of the picture at rest are needed, whether or not the host has had it: draws it again where they have
    /// been given back.
    void recall();

    /// Whether there are pixels in final quality of this revision or a newer one.
    [[nodiscard]] bool hasPictureAtRest(std::uint64_t revision) const;

    [[nodiscard]] std::uint64_t wanted() const { return m_wanted; }

    /// Whether a picture is to be drawn in this quality. Does not know of one that is being drawn.
    [[nodiscard]] bool needsPicture(protocol::Quality quality) const;

    /// Pixels of this revision are there. `moving`: the next picture comes anyway, so once is enough.
    void arrived(std::uint64_t revision, protocol::Quality quality, bool moving);

    /// The pixels are gone: overwritten by the next picture, or given back.
    void drop();

    /// Whether a frame is to be written as soon as the host's buffer is free.
    [[nodiscard]] bool hasFrame() const { return m_left > 0; }

    void written();
    /// The host's buffer is free.
    void taken();

    /// Whether a frame lies in the host's buffer.
    [[nodiscard]] bool isUntaken() const { return m_untaken; }

    /// Whether the host can expect another frame. While the turntable turns, only requests count.
    [[nodiscard]] bool owes(bool turning) const;

private:
    struct Picture
    {
        std::uint64_t revision = 0;
        protocol::Quality quality = protocol::Quality::draft;
    };

    std::uint64_t m_wanted = 1;
    std::uint64_t m_requested = 1; ///< newest revision that somebody asked for
    std::uint64_t m_done = 0;      ///< revision that has been written as often as it must
    std::uint64_t m_written = 0;   ///< revision of the frame written last
    std::uint64_t m_taken = 0;     ///< revision of the frame taken last
    std::optional<Picture> m_picture;
    int m_left = 0; ///< how often m_picture is still to be written
    bool m_untaken = false;
};

} // namespace ov3d::session
