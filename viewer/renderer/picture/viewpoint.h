#pragma once

#include "viewer/camera/scenestatus.h"
#include "viewer/renderer/import/modeldata.h"

namespace ov3d::renderer {

/// A pose as a renderer wants it: in the model's frame, with the depths between which the model lies.
struct Viewpoint
{
    Vec3 position;
    Vec3 forward;
    Vec3 up;
    bool parallel = false;
    double view_angle = 30;     ///< degrees, vertical
    double parallel_scale = 1;  ///< half of the picture's height
    double window_centre_x = 0; ///< offset of the view frustum, in half widths of the picture
    double window_centre_y = 0; ///< the same in half heights, upwards
    double nearest = 0.1;
    double farthest = 10;
};

/// @param width, height pixels of the picture. The model fills the unit sphere of its frame.
Viewpoint viewpointOf(const camera::Pose& pose, const ModelFrame& frame, int width, int height);

} // namespace ov3d::renderer
