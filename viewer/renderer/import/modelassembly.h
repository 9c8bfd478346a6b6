#pragma once

#include "viewer/renderer/import/matrix.h"
#include "viewer/renderer/import/modeldata.h"

#include <cstddef>
#include <vector>

namespace ov3d::renderer {

/// A mesh at one of its places.
struct MeshInstance
{
    std::size_t mesh = 0;
    Matrix place; ///< from the mesh's axes to the world, +Y up
};

/// Measures the world and puts meshes together: one for each material and kind of primitive, in the model's own frame.
///
/// @param meshes positions in their own axes, finite, indices in range; materials index those of `model`.
/// @param model  receives frame, bounds and meshes; nothing when there is no instance.
/// Throws std::bad_alloc, also for more vertices than can be indexed.
void assembleModel(const std::vector<MeshData>& meshes, const std::vector<MeshInstance>& instances, ModelData& model);

} // namespace ov3d::renderer
