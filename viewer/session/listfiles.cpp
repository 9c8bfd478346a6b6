#include "viewer/session/listfiles.h"

#include "viewer/protocol/messages.h"
#include "viewer/session/limits.h"
#include "viewer/session/rendererprocess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace ov3d::session {

namespace {

std::int32_t formatOf(const std::string& path)
{
    std::string suffix = path.substr(path.rfind('.') + 1);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    constexpr const char* kSuffixes[] = {"fbx", "obj", "gltf", "stl", "glb", "3mf"}; // in the order of ModelFormat
    const auto found = std::find(std::begin(kSuffixes), std::end(kSuffixes), suffix);
    return found == std::end(kSuffixes) ? kFormatNone : static_cast<std::int32_t>(found - std::begin(kSuffixes));
}

} // namespace

std::optional<std::vector<std::string>> listFiles(const std::string& path)
{
    using Clock = std::chrono::steady_clock;
    using protocol::Channel;

    struct stat info = {};
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(path, error).string();
    const std::unique_ptr<RendererProcess> renderer = error ? nullptr : RendererProcess::start();
    if (!renderer)
        return std::nullopt;
    const protocol::LoadRequest load{absolute, formatOf(path), false, true, 0};
    if (!renderer->channel().send(protocol::encode(protocol::Request(load))))
        return std::nullopt;

    const auto limit = loadLimit(static_cast<std::uint64_t>(info.st_size));
    Clock::time_point deadline = Clock::now() + limit;
    std::int32_t bestPercent = -1;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        std::vector<std::uint8_t> bytes;
        int attached = -1;
        const auto outcome = renderer->channel().receive(bytes, attached, std::max(left, std::chrono::milliseconds(0)));
        if (attached >= 0)
            ::close(attached);
        protocol::Answer answer;
        if (outcome != Channel::Outcome::message || !protocol::decode(bytes.data(), bytes.size(), answer))
            return std::nullopt;
        if (auto* loaded = std::get_if<protocol::Loaded>(&answer))
            return std::move(loaded->files);
        if (std::holds_alternative<protocol::Failed>(answer))
            return std::nullopt;
        if (const auto* progress = std::get_if<protocol::Progress>(&answer);
            progress && progress->percent > bestPercent) {
            bestPercent = std::min(progress->percent, 100);
            deadline = Clock::now() + limit;
        }
    }
}

} // namespace ov3d::session
