#pragma once

#include "viewer/renderer/import/modeldata.h"

namespace ov3d::renderer {

/// A model that nobody sees: drawing it makes the driver translate the shaders that the first real one will need, which
/// takes ten times as long as drawing that one does.
ModelData warmUpModel(bool textured);

} // namespace ov3d::renderer
