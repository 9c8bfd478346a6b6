#pragma once

#include "src/render/viewcontext.h"
#include "viewer/camera/vector.h"

namespace ov3d::camera {

/// Vertical field of view of a camera whose settings change nothing, radians (30 degrees).
inline constexpr double kDefaultFieldOfView = 0.52359877559829887;

/// What our viewer keeps in a scene status. World units are the model's, +Y up. The stored numbers are what is drawn;
/// angles are derived from them, so a restored status gives the same picture to the bit.
///
/// - camera_to_world: column-major 4 x 4; columns are right, up, backward (unit vectors) and the camera's position.
/// - intrinsics: row-major 3 x 3, in units of the picture's height, independent of its size:
///   { f, 0, cx, 0, f, cy, 0, 0, 1 } with f = 0.5 / tan(vertical field of view / 2) and the principal point (cx, cy)
///   relative to the picture's centre, x right, y down.
/// - projection: [0] 0 perspective, 1 parallel; [1] vertical field of view in radians; [2] height of the picture in
/// world
///   units at the focal point; [3] distance from camera to focal point; [4..15] used by viewer/camera alone: [4] is 1
///   while the view is one that was fitted to the picture and that no gesture has touched, the others are 0.
/// - focal_point: world coordinates.
/// - sun_direction: unit vector in which the sunlight travels: in camera axes while the sun follows the camera, else in
///   world axes.
///
/// In perspective the picture's height at the focal point is 2 * distance * tan(field of view / 2). In parallel
/// projection it is independent of the distance, and the camera stands so far back that the whole model lies before it.
struct Pose
{
    Vec3 position;
    Vec3 right;
    Vec3 up;
    Vec3 backward;
    bool parallel = false;
    double vertical_field_of_view = 0; ///< radians, of the whole picture's height
    double view_height = 0;            ///< world units that the picture's height spans at the focal point
    double centre_x = 0;               ///< principal point, in picture heights, right of the centre
    double centre_y = 0;               ///< the same, below the centre
    Vec3 focal_point;
    Vec3 sun_direction;

    friend bool operator==(const Pose&, const Pose&) = default;
};

/// @return the pose that a status stands for; garbage in a status (not finite, not orthonormal) gives a usable default.
/// An unusable matrix gives a default for the whole pose; with a usable one, only what does not fit it is replaced.
Pose poseFromStatus(const OV3DOBJECT::SceneStatus& status);

/// The status of a pose. @param fitted goes to projection[4].
OV3DOBJECT::SceneStatus statusFromPose(const Pose& pose, bool fitted);

/// The sunlight of the settings' defaults, unit length: over the viewer's left shoulder.
Vec3 defaultSunDirection();

/// Whether the first sixteen doubles are all zero, that is, nobody has written a view yet.
bool isUnset(const OV3DOBJECT::SceneStatus& status);

/// Whether the first sixteen doubles are a camera: finite, right-handed and orthonormal to one part in a million.
bool hasUsableMatrix(const OV3DOBJECT::SceneStatus& status);

/// Whether everything in a status is usable as it stands: poseFromStatus replaces nothing.
bool isConsistent(const OV3DOBJECT::SceneStatus& status);

/// projection[4]: the view was fitted to the picture and no gesture has touched it.
bool isFitted(const OV3DOBJECT::SceneStatus& status);

} // namespace ov3d::camera
