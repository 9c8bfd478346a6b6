#pragma once

#include "viewer/renderer/import/importer.h"

namespace ov3d::renderer {

/// FBX, OBJ, glTF, GLB and STL, through Assimp.
class AssimpImporter : public Importer
{
public:
    ImportResult read(const ImportRequest& request) override;
};

} // namespace ov3d::renderer
