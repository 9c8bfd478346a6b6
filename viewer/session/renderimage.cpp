#include "viewer/session/renderimage.h"

#include "viewer/protocol/framememory.h"
#include "viewer/session/card.h"
#include "viewer/session/conversation.h"
#include "viewer/session/framewriter.h"
#include "viewer/session/imagerequest.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfile.h"
#include "viewer/session/rendererpool.h"

#include <algorithm>
#include <cstring>

namespace ov3d::session {

namespace {

using Outcome = Conversation::Outcome;

constexpr int kTries = 2;
constexpr std::int32_t kMostCardSide = 4096;
constexpr std::uint8_t kAroundACard = 0xf2;

/// The caller's picture: rows without padding.
struct Target
{
    std::uint8_t* pixels = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;

    [[nodiscard]] std::uint8_t* at(std::int32_t left, std::int32_t top) const
    {
        const auto index = static_cast<std::size_t>(top) * static_cast<std::size_t>(width);
        return pixels + 3 * (index + static_cast<std::size_t>(left));
    }

    /// Copies rows that are padded to four bytes.
    void put(std::int32_t left, std::int32_t top, PictureSize size, const std::uint8_t* padded) const
    {
        for (std::int32_t y = 0; y < size.height; ++y)
            std::memcpy(at(left, top + y), padded + protocol::rowBytes(size.width) * static_cast<std::size_t>(y),
                        3 * static_cast<std::size_t>(size.width));
    }
};

/// The renderer draws in squares of this size too, so no pixel is drawn twice.
PictureSize tileSize(const Target& target)
{
    const std::int32_t side = std::max(1, limits().tile_side);
    return {std::min(target.width, side), std::min(target.height, side)};
}

Outcome drawTiles(Conversation& conversation, protocol::RenderRequest picture, PictureSize tile,
                  const protocol::FrameMemory& memory, const Target& target)
{
    const bool whole = tile == PictureSize{target.width, target.height};
    for (std::int32_t top = 0; top < target.height; top += tile.height) {
        for (std::int32_t left = 0; left < target.width; left += tile.width) {
            ++picture.serial;
            picture.width = std::min(tile.width, target.width - left);
            picture.height = std::min(tile.height, target.height - top);
            if (!whole)
                picture.tile = {left, top, target.width, target.height};
            if (const Outcome outcome = conversation.draw(picture); outcome != Outcome::done)
                return outcome;
            target.put(left, top, {picture.width, picture.height}, memory.data());
        }
    }
    return Outcome::done;
}

/// @return why there is no picture: the rest of a sentence that begins with the file's name; empty when there is one.
std::string draw(const ImageRequest& request, const Target& target)
{
    std::uint64_t fileBytes = 0;
    if (std::string fault = faultOfFile(request.model, fileBytes); !fault.empty())
        return fault;
    const PictureSize tile = tileSize(target);
    std::string reason;
    bool isCautious = false;
    for (int failures = 0; failures < kTries; ++failures) {
        const protocol::FrameMemory memory = protocol::FrameMemory::create(
            static_cast<std::size_t>(protocol::rowBytes(tile.width)) * static_cast<std::size_t>(tile.height));
        if (!memory.isOpen())
            return "cannot be shown: there is no memory for its picture";
        const bool hadShaderCache = RendererProcess::startsWithShaderCache();
        Conversation conversation(RendererPool::instance().take(), loadLimit(fileBytes));
        const protocol::LoadRequest load{request.model, request.format, isCautious, false, memory.size()};
        protocol::Loaded model;
        Outcome outcome = conversation.load(load, memory.descriptor(), model);
        if (outcome == Outcome::done) {
            protocol::RenderRequest picture;
            picture.status = viewOf(request, model, target.width, target.height);
            picture.settings = request.settings;
            if (isCautious)
                picture.settings.hdr_path.clear();
            outcome = drawTiles(conversation, picture, tile, memory, target);
        }
        if (outcome == Outcome::done)
            return {};
        reason = conversation.reason();
        if (outcome == Outcome::refused)
            return reason;
        // Unless the cache was it, what a renderer died of is not known; of textures and foreign pictures it is
        // likeliest.
        isCautious = isCautious || hadShaderCache == RendererProcess::startsWithShaderCache();
    }
    return reason + " twice";
}

/// A card larger than any screen would be no better for it, and costs memory.
void putCard(const Target& target, const std::string& name, const std::string& reason)
{
    const auto bytes = static_cast<std::size_t>(target.width) * static_cast<std::size_t>(target.height) * 3;
    std::memset(target.pixels, kAroundACard, bytes);
    const PictureSize size{std::min(target.width, kMostCardSide), std::min(target.height, kMostCardSide)};
    const Card card = drawCard(size, name, reason);
    target.put((target.width - size.width) / 2, (target.height - size.height) / 2, size, card.pixels.data());
}

} // namespace

void renderImage(const std::string& text, std::uint8_t* pixels, std::int32_t width, std::int32_t height)
{
    const Target target{pixels, width, height};
    std::string reason;
    const std::optional<ImageRequest> request = parseImageRequest(text, reason);
    if (request)
        reason = draw(*request, target);
    if (!reason.empty())
        putCard(target, request ? fileName(request->model) : "A picture", reason);
    RendererPool::instance().replenish();
}

} // namespace ov3d::session
