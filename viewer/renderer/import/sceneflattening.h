#pragma once

#include "viewer/renderer/import/matrix.h"
#include "viewer/renderer/import/modeldata.h"

#include <functional>

struct aiScene;

namespace ov3d::renderer {

class MaterialReader;

/// Turns a scene of Assimp's (triangulated, sorted by primitive type) into one mesh for each material and kind of
/// primitive, in the model's own frame. Animated and skinned models are taken in the pose in which they stand.
///
/// @param toWorld  from the file's axes to ours (+Y up).
/// @param model    receives frame, bounds, meshes and materials; no meshes when nothing can be drawn.
/// @param progress called with 0 to 100.
/// Throws std::bad_alloc, also for more vertices than can be indexed.
void flattenScene(const aiScene& scene, const Matrix& toWorld, bool replaceNormals, MaterialReader& materials,
                  ModelData& model, const std::function<void(int)>& progress);

} // namespace ov3d::renderer
