#include "viewer/camera/boundingsphere.h"

#include <algorithm>

namespace ov3d::camera {

namespace {

// Squares and products of lengths within these bounds neither overflow nor vanish.
constexpr double kLargestLength = 1e100;
constexpr double kSmallestRadius = 1e-100;

// Below this part of the centre's distance from the origin, points of the model fall together.
constexpr double kCoordinateResolution = 1e-12;

} // namespace

BoundingSphere viewableSphere(const BoundingSphere& sphere)
{
    BoundingSphere result = sphere;
    if (!isFinite(result.centre) || length(result.centre) > kLargestLength)
        result.centre = Vec3{};
    if (!(result.radius > kSmallestRadius) || result.radius > kLargestLength)
        result.radius = 1;
    result.radius = std::max(result.radius, length(result.centre) * kCoordinateResolution);
    return result;
}

} // namespace ov3d::camera
