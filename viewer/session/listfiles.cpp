#include "viewer/session/listfiles.h"

#include "viewer/session/conversation.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfile.h"

namespace ov3d::session {

std::optional<std::vector<std::string>> listFiles(const std::string& path, std::string& reason)
{
    std::uint64_t fileBytes = 0;
    reason = faultOfFile(path, fileBytes);
    if (!reason.empty())
        return std::nullopt;
    Conversation conversation(RendererProcess::start(), loadLimit(fileBytes));
    const protocol::LoadRequest load{toAbsolute(path), formatOfPath(path), false, true, 0};
    protocol::Loaded loaded;
    // No second try without textures: their files belong to the list.
    if (conversation.load(load, -1, loaded) != Conversation::Outcome::done) {
        reason = conversation.reason();
        return std::nullopt;
    }
    return std::move(loaded.files);
}

} // namespace ov3d::session
