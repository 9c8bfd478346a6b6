#pragma once

#include "viewer/renderer/environment/lightplan.h"

class vtkRenderer;

namespace ov3d::renderer {

/// Puts a plan's lamps into the scene, for physically based surfaces (vtkProperty::SetInterpolationToPBR). What comes
/// from all around is EnvironmentRenderer's. Without lamps there is a black one, since VTK would shade nothing.
void light(vtkRenderer& renderer, const LightPlan& plan);

} // namespace ov3d::renderer
