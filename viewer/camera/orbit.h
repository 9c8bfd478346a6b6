#pragma once

#include "viewer/camera/boundingsphere.h"
#include "viewer/camera/scenestatus.h"

#include <cstdint>
#include <optional>

namespace ov3d::camera {

/// Where the camera stands around its focal point, radians.
///
/// Azimuth turns about +Y, from +Z toward +X; elevation rises toward +Y; a positive roll lifts the camera's right side.
struct Angles
{
    double azimuth = 0;
    double elevation = 0;
    double roll = 0;
};

/// Part of the picture's shorter side that the bounding sphere's outline spans after fitting.
inline constexpr double kFittedPart = 0.9;

/// Furthest elevation that a drag reaches, radians (89.5 degrees).
inline constexpr double kMaxElevation = 1.5620696805349263;

/// A little from the right and from above: the view that a model is first shown in.
[[nodiscard]] Angles homeAngles();

/// The direction of a fixed view type (1 front, 2 back, 3 left, 4 right, 6 top, 7 bottom, 8 isometric); nothing for the
/// others. Front looks along -Z, left stands at -X; top has -Z above and bottom +Z.
[[nodiscard]] std::optional<Angles> anglesOfViewType(std::int32_t viewType);

/// At a pole, where azimuth and roll fall together, the roll is 0.
[[nodiscard]] Angles anglesOf(const Pose& pose);

/// Turns the axes; the position is left to placeCamera.
void turnTo(Pose& pose, const Angles& angles);

/// Distance at which a perspective camera with the pose's field of view sees `view_height`, whatever its projection.
/// Zooming changes this number.
[[nodiscard]] double zoomDistance(const Pose& pose);

/// Sets `view_height` for a zoom distance and puts the camera on its axis behind the focal point.
void placeCamera(Pose& pose, double zoom, const BoundingSphere& model);

/// Zoom distance at which the outline of a sphere around the focal point spans kFittedPart of the picture's shorter
/// side. @param aspect width of the picture in heights.
[[nodiscard]] double fittingDistance(double radius, double fieldOfView, bool parallel, double aspect);

/// Bounds of the zoom distance for a model and a field of view.
struct ZoomRange
{
    double nearest = 0;
    double farthest = 0;
};
[[nodiscard]] ZoomRange zoomRange(const BoundingSphere& model, double fieldOfView);

/// Clamps to a range, widened so that it holds the value from which the change set out: a view that was restored from
/// beyond a limit does not jump at the first touch.
[[nodiscard]] double clampFrom(double value, double lowest, double highest, double from);

} // namespace ov3d::camera
