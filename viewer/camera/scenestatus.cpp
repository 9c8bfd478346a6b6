#include "viewer/camera/scenestatus.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace ov3d::camera {

namespace {

constexpr double kTolerance = 1e-6;
constexpr double kLargestLength = 1e120;
constexpr double kNarrowestFieldOfView = 1e-3; // radians
constexpr double kWidestFieldOfView = 3.1;     // radians; a little less than a half turn

bool isNear(double value, double expected, double tolerance)
{
    return std::abs(value - expected) <= tolerance;
}

bool isSaneLength(double value)
{
    return value > 0 && value < kLargestLength;
}

bool isSanePoint(Vec3 point)
{
    return isFinite(point) && length(point) < kLargestLength;
}

Vec3 column(const OV3DOBJECT::SceneStatus& status, int index)
{
    const double* first = status.camera_to_world + 4 * index;
    return {first[0], first[1], first[2]};
}

Vec3 point(const double (&values)[3])
{
    return {values[0], values[1], values[2]};
}

void store(Vec3 from, double* to)
{
    to[0] = from.x;
    to[1] = from.y;
    to[2] = from.z;
}

double heightAt(double distance, double fieldOfView)
{
    return 2 * distance * std::tan(fieldOfView / 2);
}

// A unit sphere at the origin, seen from the front.
Pose defaultPose()
{
    constexpr double distance = 4;
    Pose pose;
    pose.position = {0, 0, distance};
    pose.right = {1, 0, 0};
    pose.up = {0, 1, 0};
    pose.backward = {0, 0, 1};
    pose.vertical_field_of_view = kDefaultFieldOfView;
    pose.view_height = heightAt(distance, kDefaultFieldOfView);
    pose.sun_direction = defaultSunDirection();
    return pose;
}

double focalDistance(const OV3DOBJECT::SceneStatus& status, const Pose& pose)
{
    if (isSaneLength(status.projection[3]))
        return status.projection[3];
    const double fromOrigin = length(pose.position);
    return isSaneLength(fromOrigin) ? fromOrigin : 1.0;
}

// Fills what the matrix does not determine, and says whether the status had all of it.
bool readLens(const OV3DOBJECT::SceneStatus& status, Pose& pose)
{
    bool complete = status.projection[0] == 0 || status.projection[0] == 1;
    pose.parallel = status.projection[0] == 1;

    pose.vertical_field_of_view = status.projection[1];
    if (!(pose.vertical_field_of_view >= kNarrowestFieldOfView && pose.vertical_field_of_view <= kWidestFieldOfView)) {
        pose.vertical_field_of_view = kDefaultFieldOfView;
        complete = false;
    }
    const double focalLength = 0.5 / std::tan(pose.vertical_field_of_view / 2);
    complete = complete && isNear(status.intrinsics[0], focalLength, kTolerance * focalLength);

    pose.centre_x = status.intrinsics[2];
    pose.centre_y = status.intrinsics[5];
    if (!(std::abs(pose.centre_x) < 100 && std::abs(pose.centre_y) < 100)) {
        pose.centre_x = pose.centre_y = 0;
        complete = false;
    }
    return complete;
}

bool readFocus(const OV3DOBJECT::SceneStatus& status, Pose& pose)
{
    const double distance = focalDistance(status, pose);
    bool complete = distance == status.projection[3];

    const Vec3 expected = pose.position - pose.backward * distance;
    pose.focal_point = point(status.focal_point);
    // Far from the origin, neighbouring doubles lie further apart than a small model's tolerance.
    const double slack = kTolerance * distance + 1e-12 * length(expected);
    if (!isSanePoint(pose.focal_point) || length(pose.focal_point - expected) > slack) {
        pose.focal_point = expected;
        complete = false;
    }

    const double height = heightAt(distance, pose.vertical_field_of_view);
    pose.view_height = status.projection[2];
    if (!isSaneLength(pose.view_height) || (!pose.parallel && !isNear(pose.view_height, height, kTolerance * height))) {
        pose.view_height = height;
        complete = false;
    }
    return complete;
}

bool readSun(const OV3DOBJECT::SceneStatus& status, Pose& pose)
{
    pose.sun_direction = point(status.sun_direction);
    if (isFinite(pose.sun_direction) && isNear(length(pose.sun_direction), 1, kTolerance))
        return true;
    pose.sun_direction = defaultSunDirection();
    return false;
}

bool read(const OV3DOBJECT::SceneStatus& status, Pose& pose)
{
    if (!hasUsableMatrix(status)) {
        pose = defaultPose();
        return false;
    }
    pose.right = column(status, 0);
    pose.up = column(status, 1);
    pose.backward = column(status, 2);
    pose.position = column(status, 3);
    const bool lens = readLens(status, pose);
    const bool focus = readFocus(status, pose);
    const bool sun = readSun(status, pose);
    return lens && focus && sun;
}

} // namespace

Vec3 defaultSunDirection()
{
    const double third = std::sqrt(1.0 / 3.0);
    return {third, -third, -third};
}

Pose poseFromStatus(const OV3DOBJECT::SceneStatus& status)
{
    Pose pose;
    read(status, pose);
    return pose;
}

OV3DOBJECT::SceneStatus statusFromPose(const Pose& pose, bool fitted)
{
    OV3DOBJECT::SceneStatus status{};
    store(pose.right, status.camera_to_world);
    store(pose.up, status.camera_to_world + 4);
    store(pose.backward, status.camera_to_world + 8);
    store(pose.position, status.camera_to_world + 12);
    status.camera_to_world[15] = 1;

    const double focalLength = 0.5 / std::tan(pose.vertical_field_of_view / 2);
    status.intrinsics[0] = focalLength;
    status.intrinsics[2] = pose.centre_x;
    status.intrinsics[4] = focalLength;
    status.intrinsics[5] = pose.centre_y;
    status.intrinsics[8] = 1;

    status.projection[0] = pose.parallel ? 1 : 0;
    status.projection[1] = pose.vertical_field_of_view;
    status.projection[2] = pose.view_height;
    // Not measured between the two points in perspective: far from the origin these are coarser than the distance.
    status.projection[3] = pose.parallel ? length(pose.position - pose.focal_point)
                                         : pose.view_height / (2 * std::tan(pose.vertical_field_of_view / 2));
    status.projection[4] = fitted ? 1 : 0;

    store(pose.focal_point, status.focal_point);
    store(pose.sun_direction, status.sun_direction);
    return status;
}

bool isUnset(const OV3DOBJECT::SceneStatus& status)
{
    return std::all_of(std::begin(status.camera_to_world), std::end(status.camera_to_world),
                       [](double value) { return value == 0; });
}

bool hasUsableMatrix(const OV3DOBJECT::SceneStatus& status)
{
    const double* m = status.camera_to_world;
    const Vec3 right = column(status, 0);
    const Vec3 up = column(status, 1);
    const Vec3 backward = column(status, 2);
    if (!isFinite(right) || !isFinite(up) || !isFinite(backward) || !isSanePoint(column(status, 3)))
        return false;
    if (m[3] != 0 || m[7] != 0 || m[11] != 0 || m[15] != 1)
        return false;
    // A right-handed frame: this fixes the third column, so its length need not be looked at on its own.
    return isNear(length(right), 1, kTolerance) && isNear(length(up), 1, kTolerance) &&
           isNear(dot(right, up), 0, kTolerance) && length(cross(right, up) - backward) <= kTolerance;
}

bool isConsistent(const OV3DOBJECT::SceneStatus& status)
{
    Pose pose;
    return read(status, pose);
}

bool isFitted(const OV3DOBJECT::SceneStatus& status)
{
    return status.projection[4] == 1;
}

} // namespace ov3d::camera
