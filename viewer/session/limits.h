#pragma once

#include <chrono>
#include <cstdint>

namespace ov3d::session {

/// Times that bound a session. Tests shorten them; nothing else does.
struct Limits
{
    std::chrono::milliseconds load{20000};               ///< without progress, all tries of one load together
    std::uint64_t bytes_for_another_second = 4ULL << 20; ///< a larger file gets more time
    std::chrono::milliseconds rest{180000};              ///< at rest this long, the renderer's memory is given back
    std::chrono::milliseconds hand_rests{150};           ///< without a move this long, a draft is refined
};

/// Any thread.
[[nodiscard]] Limits limits();

/// For tests. Sessions that run take over the new values as they go. Any thread.
void setLimits(const Limits& limits);

/// How long a file of this size may be worked on without progress.
[[nodiscard]] std::chrono::milliseconds loadLimit(std::uint64_t fileBytes);

} // namespace ov3d::session
