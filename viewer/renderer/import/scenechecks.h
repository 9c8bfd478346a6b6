#pragma once

#include <string>
#include <vector>

struct aiScene;

namespace ov3d::renderer {

/// Makes a freshly read scene safe for what comes after it: faces with indices out of range or positions that are no
/// finite numbers are dropped, so are normals that are none, polygons of too many corners, and what nobody draws
/// (tangents).
///
/// @param shapesAtWeights whether the meshes' shapes (morph targets) are mixed in at the weights that the file gives;
///                        they are dropped otherwise.
/// @return what was left out, in plain words; empty for a sound scene.
std::vector<std::string> repairScene(aiScene& scene, bool shapesAtWeights);

} // namespace ov3d::renderer
