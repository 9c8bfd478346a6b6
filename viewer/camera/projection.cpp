#include "viewer/camera/projection.h"

#include <cmath>

namespace ov3d::camera {

std::optional<PicturePoint> project(const Pose& pose, double aspect, Vec3 point)
{
    const Vec3 offset = point - pose.position;
    double perHeight = 1 / pose.view_height;
    if (!pose.parallel) {
        const double depth = -dot(offset, pose.backward);
        if (!(depth > 0))
            return std::nullopt;
        perHeight = 0.5 / std::tan(pose.vertical_field_of_view / 2) / depth;
    }
    return PicturePoint{aspect / 2 + pose.centre_x + dot(offset, pose.right) * perHeight,
                        0.5 + pose.centre_y - dot(offset, pose.up) * perHeight};
}

Vec3 pointOnFocalPlane(const Pose& pose, double aspect, PicturePoint place)
{
    const double right = (place.x - aspect / 2 - pose.centre_x) * pose.view_height;
    const double down = (place.y - 0.5 - pose.centre_y) * pose.view_height;
    return pose.focal_point + pose.right * right - pose.up * down;
}

} // namespace ov3d::camera
