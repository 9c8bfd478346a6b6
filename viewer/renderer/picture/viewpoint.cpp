#include "viewer/renderer/picture/viewpoint.h"

#include <algorithm>
#include <numbers>

namespace ov3d::renderer {
namespace {

/// A little more than the unit sphere, for rounding and for wide lines.
constexpr double kModelRadius = 1.02;

/// Smallest share of the farthest depth that the nearest one may have: what the depth buffer can tell apart.
constexpr double kNearestShare = 5e-4;

} // namespace

Viewpoint viewpointOf(const camera::Pose& pose, const ModelFrame& frame, int width, int height)
{
    Viewpoint view;
    view.position = (pose.position - frame.origin) * (1.0 / frame.scale);
    view.forward = -pose.backward;
    view.up = pose.up;
    view.parallel = pose.parallel;
    view.view_angle = pose.vertical_field_of_view * 180.0 / std::numbers::pi;
    view.parallel_scale = pose.view_height / 2 / frame.scale;
    // Moving the frustum moves the picture the other way; the pose counts y downwards.
    view.window_centre_x = -2.0 * pose.centre_x * height / width;
    view.window_centre_y = 2.0 * pose.centre_y;

    double distance = -dot(view.position, view.forward);
    if (view.parallel && distance < 1 + kModelRadius) {
        // Without perspective the camera may stand anywhere on its line: outside of the model nothing is cut off.
        view.position = view.position - view.forward * (1 + kModelRadius - distance);
        distance = 1 + kModelRadius;
    }
    view.farthest = distance + kModelRadius;
    if (view.farthest <= 0)
        view.farthest = 1; // all of the model is behind the camera
    view.nearest = std::max(distance - kModelRadius, view.farthest * kNearestShare);
    return view;
}

} // namespace ov3d::renderer
