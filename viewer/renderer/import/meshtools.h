#pragma once

#include "viewer/renderer/import/modeldata.h"

/// What every importer does to its meshes before they are merged. Indices must be in range.
namespace ov3d::renderer {

/// Edges between faces that turn by more than this stay hard when normals are made up.
inline constexpr double kCreaseAngleDegrees = 40.0;

/// Gives each corner of each triangle the angle-weighted average of the normals around its place, of those faces that
/// turn by less than the crease angle. Splits the vertices: afterwards each triangle has three of its own.
void generateNormals(MeshData& mesh, double creaseAngleDegrees = kCreaseAngleDegrees);

/// Makes all normals of unit length; those that are zero or no numbers become the normal of a face beside them.
void repairNormals(MeshData& mesh);

/// Merges vertices that are equal in everything and drops those that nothing uses.
void joinIdenticalVertices(MeshData& mesh);

} // namespace ov3d::renderer
