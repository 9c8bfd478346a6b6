#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ov3d::session {

/// The side files of a model, found by a renderer process of its own. Blocks within the time limit of a load.
/// @param cancelled  may be empty; else it is asked meanwhile, on a thread of its own, and ends the listing.
/// @return nothing, with plain words in `reason`, when the model could not be read.
[[nodiscard]] std::optional<std::vector<std::string>>
listFiles(const std::string& path, const std::function<bool()>& cancelled, std::string& reason);

} // namespace ov3d::session
