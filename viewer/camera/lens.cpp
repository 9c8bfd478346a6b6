#include "viewer/camera/lens.h"

#include "viewer/camera/scenestatus.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ov3d::camera {

namespace {

constexpr double kNormalAngle = 90; // degrees
constexpr double kSmallestAngle = 10;
constexpr double kLargestAngle = 170;
constexpr double kLargestOffset = 100; // radii

double offsetFromSetting(double value)
{
    return std::isfinite(value) ? std::clamp(value, -kLargestOffset, kLargestOffset) : 0.0;
}

} // namespace

Lens lensFromSettings(const CameraSettings& settings)
{
    Lens lens;
    lens.parallel = settings.camera_id == 1;

    const double angle = settings.camera_values[1];
    lens.field_of_view = kDefaultFieldOfView;
    if (std::isfinite(angle) && angle != kNormalAngle) {
        const double half = std::clamp(angle, kSmallestAngle, kLargestAngle) / 2 * std::numbers::pi / 180;
        lens.field_of_view = 2 * std::atan(std::tan(kDefaultFieldOfView / 2) * std::tan(half));
    }

    lens.offset = {offsetFromSetting(settings.camera_position[0]), offsetFromSetting(settings.camera_position[1]),
                   offsetFromSetting(settings.camera_position[2])};
    return lens;
}

} // namespace ov3d::camera
