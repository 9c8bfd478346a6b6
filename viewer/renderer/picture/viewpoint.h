#pragma once

#include "viewer/camera/scenestatus.h"
#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/picture/cells.h"

namespace ov3d::renderer {

/// A little more than the unit sphere that a model fills, for rounding and for wide lines.
inline constexpr double kModelRadius = 1.02;

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

/// @param width, height pixels of the picture.
/// @param radius around the frame's origin, in its units: everything that is to be seen lies within.
Viewpoint viewpointOf(const camera::Pose& pose, const ModelFrame& frame, int width, int height,
                      double radius = kModelRadius);

/// The same camera, confined to a part of the picture.
/// @param whole the viewpoint of the picture of `width` x `height` pixels.
Viewpoint viewpointOfPart(const Viewpoint& whole, int width, int height, const Region& part);

} // namespace ov3d::renderer
