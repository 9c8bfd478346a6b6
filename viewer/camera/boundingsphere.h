#pragma once

#include "viewer/camera/vector.h"

namespace ov3d::camera {

/// What encloses the model; world units, +Y up.
struct BoundingSphere
{
    Vec3 centre;
    double radius = 0;

    friend bool operator==(const BoundingSphere&, const BoundingSphere&) = default;
};

/// A sphere that a camera can be fitted to: finite, and with a radius above the resolution of its centre's coordinates.
/// A single point gets radius 1; a centre that is not finite becomes the origin.
[[nodiscard]] BoundingSphere viewableSphere(const BoundingSphere& sphere);

} // namespace ov3d::camera
