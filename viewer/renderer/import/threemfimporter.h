#pragma once

#include "viewer/renderer/import/importer.h"

namespace ov3d::renderer {

/// 3MF, through lib3mf.
class ThreeMfImporter : public Importer
{
public:
    ImportResult read(const ImportRequest& request) override;
};

} // namespace ov3d::renderer
