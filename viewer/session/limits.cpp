#include "viewer/session/limits.h"

#include <algorithm>
#include <mutex>

namespace ov3d::session {

namespace {

constexpr std::uint64_t kMostExtraSeconds = 3600;

struct Guarded
{
    std::mutex mutex;
    Limits limits;
};

Guarded& guarded()
{
    // Never destroyed: sessions may outlive the static objects of a process that ends.
    static Guarded& instance = *new Guarded;
    return instance;
}

} // namespace

Limits limits()
{
    const std::lock_guard lock(guarded().mutex);
    return guarded().limits;
}

void setLimits(const Limits& limits)
{
    const std::lock_guard lock(guarded().mutex);
    guarded().limits = limits;
}

std::chrono::milliseconds loadLimit(std::uint64_t fileBytes)
{
    const Limits now = limits();
    const std::uint64_t share = std::max<std::uint64_t>(1, now.bytes_for_another_second);
    return now.load + std::chrono::seconds(std::min(fileBytes / share, kMostExtraSeconds));
}

std::chrono::milliseconds wholeLimit(std::uint64_t fileBytes)
{
    const Limits now = limits();
    return now.load + 4 * (loadLimit(fileBytes) - now.load) + now.steady;
}

std::chrono::milliseconds extraForPicture(std::int32_t width, std::int32_t height)
{
    const std::uint64_t share = std::max<std::uint64_t>(1, limits().pixels_for_another_second);
    const auto side = [](std::int32_t length) { return static_cast<std::uint64_t>(std::max(0, length)); };
    const std::uint64_t shares = side(width) * side(height) / share;
    return std::chrono::seconds(std::min(shares - std::min<std::uint64_t>(shares, 1), kMostExtraSeconds));
}

std::string inSeconds(std::chrono::milliseconds time)
{
    const auto seconds = std::max<std::chrono::milliseconds::rep>(1, (time.count() + 500) / 1000);
    return std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
}

} // namespace ov3d::session
