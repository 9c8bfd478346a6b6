#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace ov3d::session {

/// Times that bound a session, each as WorkLimit counts it. Tests shorten them; nothing else does.
struct Limits
{
    std::chrono::milliseconds load{20000};                ///< without progress, all tries of one load together
    std::chrono::milliseconds steady{8000};               ///< beyond that, however steadily a load advances
    std::uint64_t bytes_for_another_second = 4ULL << 20;  ///< a larger file gets more time
    std::uint64_t pixels_for_another_second = 1280 * 960; ///< and so does a larger picture, beyond the first so many
    std::chrono::milliseconds rest{180000};               ///< at rest this long, the renderer's memory is given back
    std::chrono::milliseconds hand_rests{150};            ///< without a move this long, a draft is refined
    std::int32_t tile_side = 2048; ///< pictures without a session are drawn in squares of this side, pixels
};

/// Any thread.
[[nodiscard]] Limits limits();

/// For tests. Sessions that run take over the new values as they go. Any thread.
void setLimits(const Limits& limits);

/// How long a file of this size may be worked on without progress.
[[nodiscard]] std::chrono::milliseconds loadLimit(std::uint64_t fileBytes);

/// How long a load may take in all, its first picture included: a file can make an importer crawl as well as hang. What
/// a large file adds to the limit counts four times.
[[nodiscard]] std::chrono::milliseconds wholeLimit(std::uint64_t fileBytes);

/// What a picture of this size, in pixels, is given beyond the limits above.
[[nodiscard]] std::chrono::milliseconds extraForPicture(std::int32_t width, std::int32_t height);

/// In words, at least one second: "20 seconds".
[[nodiscard]] std::string inSeconds(std::chrono::milliseconds time);

/// Bytes of a renderer's reason that are passed on.
inline constexpr std::size_t kMostReasonBytes = 400;

} // namespace ov3d::session
