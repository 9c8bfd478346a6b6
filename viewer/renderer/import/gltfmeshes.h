#pragma once

#include "viewer/renderer/import/gltfaccessors.h"

#include <string>
#include <vector>

namespace ov3d::renderer {

/// Checks meshes and skins of a glTF against the accessors that they use.
/// @param notes grows by what is left out, in plain words.
/// @return what is wrong, or an empty text.
std::string checkGltfMeshes(JsonValue root, GltfAccessors& accessors, std::vector<std::string>& notes);

} // namespace ov3d::renderer
