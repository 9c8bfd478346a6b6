#include "viewer/camera/orbit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ov3d::camera {

namespace {

using std::numbers::pi;

constexpr double kDegree = pi / 180;

// Limits of the zoom, relative to the distance at which the model fills the picture's height.
constexpr double kNearestZoom = 1.0 / 400.0;
constexpr double kFarthestZoom = 20.0;

// Sines and cosines of quarter turns come out exact, so that fixed views have exact axes.
double snapped(double value)
{
    return std::abs(value) < 1e-15 ? 0.0 : value;
}

struct Frame
{
    Vec3 right;
    Vec3 up;
    Vec3 backward;
};

Frame uprightFrame(double azimuth, double elevation)
{
    const double sinA = snapped(std::sin(azimuth));
    const double cosA = snapped(std::cos(azimuth));
    const double sinE = snapped(std::sin(elevation));
    const double cosE = snapped(std::cos(elevation));
    // Written without the cross product with +Y, which vanishes at the poles.
    return {{cosA, 0, 0.0 - sinA}, {0.0 - sinA * sinE, cosE, 0.0 - cosA * sinE}, {sinA * cosE, sinE, cosA * cosE}};
}

} // namespace

Angles homeAngles()
{
    return {30 * kDegree, 20 * kDegree, 0};
}

std::optional<Angles> anglesOfViewType(std::int32_t viewType)
{
    switch (viewType) {
    case 1:
        return Angles{};
    case 2:
        return Angles{pi, 0, 0};
    case 3:
        return Angles{-pi / 2, 0, 0};
    case 4:
        return Angles{pi / 2, 0, 0};
    case 6:
        return Angles{0, pi / 2, 0};
    case 7:
        return Angles{0, -pi / 2, 0};
    case 8:
        return Angles{pi / 4, std::atan(std::sqrt(0.5)), 0};
    default:
        return std::nullopt;
    }
}

Angles anglesOf(const Pose& pose)
{
    const double horizontal = std::hypot(pose.backward.x, pose.backward.z);
    Angles angles;
    angles.elevation = std::atan2(pose.backward.y, horizontal);
    if (horizontal < 1e-9) {
        angles.azimuth = std::atan2(-pose.right.z, pose.right.x);
        return angles;
    }
    angles.azimuth = std::atan2(pose.backward.x, pose.backward.z);
    const Frame frame = uprightFrame(angles.azimuth, angles.elevation);
    angles.roll = std::atan2(dot(pose.right, frame.up), dot(pose.right, frame.right));
    return angles;
}

void turnTo(Pose& pose, const Angles& angles)
{
    const Frame frame = uprightFrame(angles.azimuth, angles.elevation);
    const double sinR = snapped(std::sin(angles.roll));
    const double cosR = snapped(std::cos(angles.roll));
    pose.right = frame.right * cosR + frame.up * sinR;
    pose.up = frame.up * cosR - frame.right * sinR;
    pose.backward = frame.backward;
}

double zoomDistance(const Pose& pose)
{
    return pose.view_height / (2 * std::tan(pose.vertical_field_of_view / 2));
}

void placeCamera(Pose& pose, double zoom, const BoundingSphere& model)
{
    pose.view_height = 2 * zoom * std::tan(pose.vertical_field_of_view / 2);
    // A parallel picture does not depend on the distance, but nothing of the model may lie behind the camera.
    const double distance =
        pose.parallel ? std::max(zoom, length(pose.focal_point - model.centre) + 2 * model.radius) : zoom;
    pose.position = pose.focal_point + pose.backward * distance;
}

double fittingDistance(double radius, double fieldOfView, bool parallel, double aspect)
{
    const double halfAngle = std::tan(fieldOfView / 2);
    const double halfSpan = kFittedPart * std::min(1.0, aspect) * halfAngle;
    // In perspective the outline is where sight lines touch the sphere, nearer than its equator and wider.
    return parallel ? radius / halfSpan : radius * std::hypot(1.0, 1.0 / halfSpan);
}

ZoomRange zoomRange(const BoundingSphere& model, double fieldOfView)
{
    const double filling = model.radius / std::sin(fieldOfView / 2);
    return {filling * kNearestZoom, filling * kFarthestZoom};
}

double clampFrom(double value, double lowest, double highest, double from)
{
    return std::clamp(value, std::min(lowest, from), std::max(highest, from));
}

} // namespace ov3d::camera
