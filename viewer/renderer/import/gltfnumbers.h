#pragma once

#include "viewer/renderer/import/gltfaccessors.h"

#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// @return whether numbers of another kind than float can be turned into floats.
bool isConvertible(const GltfAccessors::Accessor& accessor);

/// Rewrites a glTF whose positions, normals or texture coordinates are whole numbers, which Assimp takes for floats:
/// the text that comes back has them as floats, in new buffers that are data addresses.
///
/// @param json   the whole text, of which `root` is the tree.
/// @param hidden names of members to be made unknown on the way.
/// @return the new text, or nothing when there is nothing to change. Throws std::bad_alloc.
std::string withFloats(std::string_view json, JsonValue root, GltfAccessors& accessors,
                       const std::vector<std::string_view>& hidden);

} // namespace ov3d::renderer
