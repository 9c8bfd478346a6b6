#pragma once

#include "viewer/renderer/import/gltfaccessors.h"

#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// @return whether numbers of another kind than float can be turned into floats.
bool isConvertible(const GltfAccessors::Accessor& accessor);

/// Rewrites a glTF where Assimp takes it for something else: positions, normals or texture coordinates that are whole
/// numbers become floats, and skeletons without matrices get the identities that they stand for, in new buffers that
/// are data addresses. What the first animation moves is put where it begins.
///
/// @param json   the whole text, of which `root` is the tree.
/// @param hidden names of members to be made unknown on the way.
/// @return the new text, or nothing when there is nothing to change. Throws std::bad_alloc.
std::string rewrittenGltf(std::string_view json, JsonValue root, GltfAccessors& accessors,
                          const std::vector<std::string_view>& hidden);

} // namespace ov3d::renderer
