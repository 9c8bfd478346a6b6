#include "viewer/renderer/picture/viewpoint.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ov3d::renderer {
namespace {

/// Smallest share of the farthest depth that the nearest one may have: what the depth buffer can tell apart.
constexpr double kNearestShare = 5e-4;

} // namespace

Viewpoint viewpointOf(const camera::Pose& pose, const ModelFrame& frame, int width, int height, double radius)
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
    if (view.parallel && distance < 1 + radius) {
        // Without perspective the camera may stand anywhere on its line: outside of the model nothing is cut off.
        view.position = view.position - view.forward * (1 + radius - distance);
        distance = 1 + radius;
    }
    view.farthest = distance + radius;
    if (view.farthest <= 0)
        view.farthest = 1; // all of the model is behind the camera
    view.nearest = std::max(distance - radius, view.farthest * kNearestShare);
    return view;
}

Viewpoint viewpointOfPart(const Viewpoint& whole, int width, int height, const Region& part)
{
    if (part == Region{0, 0, width, height})
        return whole; // to the bit
    Viewpoint view = whole;
    const double share = double(part.height) / height;
    const double half = std::tan(whole.view_angle * std::numbers::pi / 360.0) * share;
    view.view_angle = std::atan(half) * 360.0 / std::numbers::pi;
    view.parallel_scale = whole.parallel_scale * share;
    const double right = 2.0 * (part.left + part.width / 2.0) / width - 1.0;
    const double up = 1.0 - 2.0 * (part.top + part.height / 2.0) / height;
    view.window_centre_x = (whole.window_centre_x + right) * width / part.width;
    view.window_centre_y = (whole.window_centre_y + up) * height / part.height;
    return view;
}

} // namespace ov3d::renderer
