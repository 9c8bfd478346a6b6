#pragma once

#include <cstdint>
#include <string>

namespace ov3d::session {

/// Draws what a request asks for (docs/viewer-contract.md) into RGB rows without padding, with a renderer process of
/// its own. What cannot be drawn becomes a card that says why. Any thread; blocks for as long as a load and the drawing
/// may take.
/// @param request  JSON
/// @param pixels   width * height * 3 bytes
void renderImage(const std::string& request, std::uint8_t* pixels, std::int32_t width, std::int32_t height);

} // namespace ov3d::session
