#pragma once

#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/import/threemfmaterials.h"

#include <cstdint>
#include <vector>

namespace ov3d::renderer {

/// Reads a mesh object of lib3mf's: one mesh for each material that its triangles use, with normals that run smoothly
/// across materials.
///
/// @param object   a mesh object's handle.
/// @param dropped  grows by the triangles that name vertices that do not exist or have positions that are no numbers.
std::vector<MeshData> readThreeMfMesh(void** object, ThreeMfMaterials& materials, std::uint64_t& dropped);

} // namespace ov3d::renderer
