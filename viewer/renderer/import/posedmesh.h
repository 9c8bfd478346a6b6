#pragma once

#include "viewer/renderer/import/materialreader.h"
#include "viewer/renderer/import/matrix.h"
#include "viewer/renderer/import/modeldata.h"

#include <map>
#include <string>

struct aiMesh;
struct aiScene;

namespace ov3d::renderer {

/// Where the nodes of a scene stand, by name; the first of several with one name.
using NodePlaces = std::map<std::string, Matrix>;

/// What a mesh needs to know about its material.
struct MeshLook
{
    TexcoordUse texcoords;
    bool textured = false;
    float base_colour[4] = {1, 1, 1, 1};
    bool linearColours = false;  ///< vertex colours are light intensities, as glTF has them
    bool replaceNormals = false; ///< the file's normals are the faces' own: make smooth ones
};

/// One mesh of Assimp's in our arrays, in the mesh's own axes, or in the scene's when it hangs on bones: with normals,
/// without doubles, and with nothing that no primitive uses. Vertex colours contain the base colour.
MeshData readMesh(const aiMesh& mesh, const MeshLook& look, const NodePlaces& places);

} // namespace ov3d::renderer
