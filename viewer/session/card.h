#pragma once

#include "viewer/session/framewriter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::session {

/// A picture that stands for a model that cannot be shown: the file's name and the reason in plain words. Opaque, and
/// without a pixel near the key colour, so that a host shows all of it.
struct Card
{
    PictureSize size;
    std::vector<std::uint8_t> pixels; ///< RGB rows, top to bottom, padded to four bytes
};

/// Any thread. In a process without a QGuiApplication there are no fonts: the card is then a mark without text.
/// @param name    file name without its folder, as bytes of the file system
/// @param reason  UTF-8, the rest of a sentence that begins with the name: "ends in the middle of its data"
[[nodiscard]] Card drawCard(PictureSize size, const std::string& name, const std::string& reason);

} // namespace ov3d::session
