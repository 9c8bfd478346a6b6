#pragma once

#include <string>
#include <vector>

struct aiScene;

namespace ov3d::renderer {

/// Makes a freshly read scene safe for what comes after it: faces with indices out of range or positions that are no
/// finite numbers are dropped, so are normals that are none, and what nobody draws (tangents, morph targets).
///
/// @return what was left out, in plain words; empty for a sound scene.
std::vector<std::string> repairScene(aiScene& scene);

} // namespace ov3d::renderer
