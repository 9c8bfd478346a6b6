#pragma once

#include "src/persist/viewsettings.h"
#include "viewer/camera/vector.h"

namespace ov3d::camera {

/// What the camera settings mean; the settings' defaults give the values that are shown here.
struct Lens
{
    bool parallel = false;    ///< `camera_id` is 1
    double field_of_view = 0; ///< vertical, radians; 30 degrees by default
    Vec3 offset;              ///< of the focal point from the model's centre, in radii of the model

    friend bool operator==(const Lens&, const Lens&) = default;
};

/// Reads the settings. Never fails: what is not finite counts as the default, the rest is clamped.
///
/// - `camera_id`: 1 is parallel projection, anything else perspective.
/// - `camera_values[1]`: how wide the view is, as an angle in degrees of which 90 is the normal view. The tangent of
///   half the vertical field of view is that of the normal view, 15 degrees, times the tangent of half this angle: 53
///   halves it, 127 doubles it. 10 to 170.
/// - `camera_position`: offset of the focal point of fitted views from the model's centre along the world's axes, in
///   radii of the model's bounding sphere. -100 to 100 each.
/// - `camera_values[0]`, `[2]` and `[3]` are carried by documents and not used.
[[nodiscard]] Lens lensFromSettings(const CameraSettings& settings);

} // namespace ov3d::camera
