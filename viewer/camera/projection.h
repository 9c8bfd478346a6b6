#pragma once

#include "viewer/camera/scenestatus.h"

#include <optional>

namespace ov3d::camera {

/// A place in the picture, in picture heights from its top left corner, x right, y down: multiply by the height in
/// pixels for pixels. A picture spans 0 to its aspect in x and 0 to 1 in y.
struct PicturePoint
{
    double x = 0;
    double y = 0;
};

/// Where a world point is seen. @param aspect width of the picture in heights. @return nothing for a point that is not
/// in front of a perspective camera.
[[nodiscard]] std::optional<PicturePoint> project(const Pose& pose, double aspect, Vec3 point);

/// The world point seen at a place of the picture that lies in the plane through the focal point parallel to the
/// picture; the inverse of project in that plane.
[[nodiscard]] Vec3 pointOnFocalPlane(const Pose& pose, double aspect, PicturePoint place);

} // namespace ov3d::camera
