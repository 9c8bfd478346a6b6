#pragma once

#include "viewer/camera/scenestatus.h"

class vtkRenderer;

namespace ov3d::renderer {

/// Lights the scene as seen from a pose: the sun from where the pose has it, a weak fill light from the other side and
/// a weaker one from the camera, so that nothing turned to the viewer is black.
///
/// @param sunFollowsCamera the pose's sun direction is in camera axes, else in world axes.
void light(vtkRenderer& renderer, const camera::Pose& pose, bool sunFollowsCamera);

} // namespace ov3d::renderer
