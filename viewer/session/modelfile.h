#pragma once

#include <cstdint>
#include <string>

namespace ov3d::session {

/// Why a model file cannot be read at all, or empty: the rest of a sentence that begins with its name. A pipe or device
/// counts as no file, since its reader would wait for ever. `size` receives the file's length. Any thread.
[[nodiscard]] std::string faultOfFile(const std::string& path, std::uint64_t& size);

/// The ModelFormat of a path's suffix, in any case; kFormatNone for others.
[[nodiscard]] std::int32_t formatOfPath(const std::string& path);

/// The ModelFormat of a suffix without its dot, in lower case; kFormatNone for others.
[[nodiscard]] std::int32_t formatOfSuffix(const std::string& suffix);

/// The path without its folders.
[[nodiscard]] std::string fileName(const std::string& path);

/// A path that stands for the same file when the process changes its working folder.
[[nodiscard]] std::string toAbsolute(const std::string& path);

/// Whether a file can be read and begins as Radiance pictures (.hdr) do. Never waits for a pipe.
[[nodiscard]] bool looksLikeRadiancePicture(const std::string& path);

} // namespace ov3d::session
