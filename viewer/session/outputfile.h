#pragma once

#include "viewer/session/framewriter.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ov3d::session {

/// Writes a file under a temporary name beside it and renames that into place: the old file or the new one, never a
/// part. Only regular files are replaced. Any thread; blocks on the disk.
/// @param path  bytes of the file system
/// @return false with nothing changed when it cannot be written.
[[nodiscard]] bool replaceFile(const std::string& path, std::string_view bytes);

/// Writes a frame as a PNG file, atomically.
/// @param pixels  RGB rows, top to bottom, padded to four bytes
/// @param keyed   makes the key colour and its fringe transparent, exactly as a host does that shows the frame;
///                otherwise the picture is opaque
/// @return false with nothing changed when it cannot be written.
[[nodiscard]] bool savePicture(const std::string& path, const std::uint8_t* pixels, PictureSize size, bool keyed);

} // namespace ov3d::session
