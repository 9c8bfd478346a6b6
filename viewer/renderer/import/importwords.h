#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::renderer {

/// Says in plain words why Assimp refused a file.
///
/// @param message      Assimp's own text.
/// @param modelName    the name under which Assimp knew the model; never shown.
/// @param missing      side files that were not found.
std::string plainReason(const std::string& message, std::int32_t model_format, const std::string& modelName,
                        const std::vector<std::string>& missing);

} // namespace ov3d::renderer
