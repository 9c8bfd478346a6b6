#pragma once

#include "viewer/camera/boundingsphere.h"
#include "viewer/camera/projection.h"
#include "viewer/camera/scenestatus.h"

namespace ov3d::camera {

/// What a drag does.
enum class Gesture
{
    none,  ///< nothing (the sun cannot be turned while it follows the camera)
    orbit, ///< turns the camera about the focal point
    pan,   ///< moves the camera in its picture plane
    dolly, ///< moves the camera toward the focal point
    roll,  ///< turns the camera about its view axis
    sun,   ///< turns the sunlight
};

/// Pointer movement since the button went down.
struct Movement
{
    double right = 0; ///< in picture widths
    double down = 0;  ///< in picture heights
};

/// The pose that a drag makes of the one it began with. Always computed from the beginning of the drag, so that the
/// result does not depend on how many pointer moves were reported on the way. A movement that changes nothing returns
/// `from` to the bit. @param aspect width of the picture in heights.
[[nodiscard]] Pose dragged(Gesture gesture, const Pose& from, Movement movement, double aspect,
                           const BoundingSphere& model);

/// One turn of the wheel: +2 goes nearer by a fixed factor, -2 away by the same; the point of the focal plane under the
/// pointer stays there. At a limit of the distance `from` is returned to the bit.
/// @param fine a fifth of the step (as many fine steps make one plain step).
[[nodiscard]] Pose zoomed(const Pose& from, double step, bool fine, PicturePoint pointer, double aspect,
                          const BoundingSphere& model);

/// Nearer by a factor, the focal point staying in the middle; `from` to the bit at a limit of the distance.
[[nodiscard]] Pose scaled(const Pose& from, double factor, const BoundingSphere& model);

/// Turned about the vertical axis through the focal point. @param angle radians.
[[nodiscard]] Pose turned(const Pose& from, double angle, const BoundingSphere& model);

} // namespace ov3d::camera
