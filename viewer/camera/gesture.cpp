#include "viewer/camera/gesture.h"

#include "viewer/camera/orbit.h"

#include <cmath>
#include <numbers>

namespace ov3d::camera {

namespace {

using std::numbers::pi;

// A drag over the whole height of the picture makes the distance e^3, or about 20 times, as long.
constexpr double kDollyExponent = 3;

// What a wheel step of 2 makes of the distance.
constexpr double kWheelFactor = 1.2;
constexpr double kWheelStep = 2;
constexpr double kFinePart = 0.2;

Pose orbited(Pose pose, Movement movement, const BoundingSphere& model)
{
    Angles angles = anglesOf(pose);
    // The model follows the hand, so the camera goes the other way.
    angles.azimuth -= movement.right * 2 * pi;
    angles.elevation =
        clampFrom(angles.elevation + movement.down * pi, -kMaxElevation, kMaxElevation, angles.elevation);
    const double zoom = zoomDistance(pose);
    turnTo(pose, angles);
    placeCamera(pose, zoom, model);
    return pose;
}

Pose panned(Pose pose, Movement movement, double aspect)
{
    const Vec3 step =
        pose.up * (movement.down * pose.view_height) - pose.right * (movement.right * aspect * pose.view_height);
    pose.position = pose.position + step;
    pose.focal_point = pose.focal_point + step;
    return pose;
}

// Moves to a zoom distance with one point of the focal plane staying where it is seen.
Pose zoomedTo(Pose pose, double zoom, Vec3 fixedPoint, const BoundingSphere& model)
{
    const double from = zoomDistance(pose);
    const ZoomRange range = zoomRange(model, pose.vertical_field_of_view);
    const double to = clampFrom(zoom, range.nearest, range.farthest, from);
    if (to == from)
        return pose;
    pose.focal_point = fixedPoint + (pose.focal_point - fixedPoint) * (to / from);
    placeCamera(pose, to, model);
    return pose;
}

Pose rolled(Pose pose, Movement movement, const BoundingSphere& model)
{
    if (movement.right == 0)
        return pose;
    Angles angles = anglesOf(pose);
    angles.roll += movement.right * 2 * pi;
    const double zoom = zoomDistance(pose);
    turnTo(pose, angles);
    placeCamera(pose, zoom, model);
    return pose;
}

// The sun goes where the hand goes: round the vertical axis, and up and down.
Pose withSunTurned(Pose pose, Movement movement)
{
    const Vec3 toSun = -pose.sun_direction;
    const double elevation = std::atan2(toSun.y, std::hypot(toSun.x, toSun.z));
    const double azimuth = std::atan2(toSun.x, toSun.z) + movement.right * 2 * pi;
    const double raised = clampFrom(elevation - movement.down * pi, -kMaxElevation, kMaxElevation, elevation);
    pose.sun_direction = {-std::sin(azimuth) * std::cos(raised), -std::sin(raised),
                          -std::cos(azimuth) * std::cos(raised)};
    return pose;
}

} // namespace

Pose dragged(Gesture gesture, const Pose& from, Movement movement, double aspect, const BoundingSphere& model)
{
    if (movement.right == 0 && movement.down == 0)
        return from;
    switch (gesture) {
    case Gesture::none:
        return from;
    case Gesture::orbit:
        return orbited(from, movement, model);
    case Gesture::pan:
        return panned(from, movement, aspect);
    case Gesture::dolly:
        return zoomedTo(from, zoomDistance(from) * std::exp(movement.down * kDollyExponent), from.focal_point, model);
    case Gesture::roll:
        return rolled(from, movement, model);
    case Gesture::sun:
        return withSunTurned(from, movement);
    }
    return from;
}

Pose zoomed(const Pose& from, double step, bool fine, PicturePoint pointer, double aspect, const BoundingSphere& model)
{
    const double steps = step / kWheelStep * (fine ? kFinePart : 1.0);
    return zoomedTo(from, zoomDistance(from) * std::pow(kWheelFactor, -steps), pointOnFocalPlane(from, aspect, pointer),
                    model);
}

Pose scaled(const Pose& from, double factor, const BoundingSphere& model)
{
    return zoomedTo(from, zoomDistance(from) / factor, from.focal_point, model);
}

Pose turned(const Pose& from, double angle, const BoundingSphere& model)
{
    Pose pose = from;
    Angles angles = anglesOf(pose);
    angles.azimuth += angle;
    const double zoom = zoomDistance(pose);
    turnTo(pose, angles);
    placeCamera(pose, zoom, model);
    return pose;
}

} // namespace ov3d::camera
