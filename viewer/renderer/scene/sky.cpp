#include "viewer/renderer/scene/sky.h"

#include "viewer/renderer/environment/exposure.h"
#include "viewer/renderer/picture/rows.h"

#include <algorithm>
#include <cmath>

namespace ov3d::renderer {
namespace {

using camera::Vec3;

/// Most pixels of a picture whose sky is as sharp as the rest.
constexpr int kSharpPixels = 640 * 480;

/// Where rays through the whole picture go.
struct Rays
{
    Vec3 forward;
    Vec3 right; ///< a picture height to the right, at distance 1
    Vec3 down;
    double aspect = 1;

    [[nodiscard]] Direction through(double x, double y) const
    {
        const Vec3 d = forward + right * (x - aspect / 2) + down * (y - 0.5);
        const double scale = 1 / std::sqrt(dot(d, d));
        return {static_cast<float>(d.x * scale), static_cast<float>(d.y * scale), static_cast<float>(d.z * scale)};
    }
};

Rays raysOf(const camera::Pose& pose, const Wanted& wanted)
{
    const double angle = std::max(pose.parallel ? 0.0 : pose.vertical_field_of_view, kSkyFieldOfView);
    const double height = 2 * std::tan(angle / 2);
    Rays rays;
    rays.forward = -pose.backward;
    rays.right = pose.right * height;
    rays.down = pose.up * -height;
    rays.aspect = double(wanted.whole_width) / wanted.whole_height; // panning leaves the sky where it is
    return rays;
}

} // namespace

int skyStep(const Wanted& wanted)
{
    return wanted.whole_width <= kSharpPixels / wanted.whole_height ? 1 : 2;
}

SkyImage drawSky(const Radiance& radiance, float gain, const camera::Pose& pose, const Wanted& wanted,
                 const Region& part)
{
    const Rays rays = raysOf(pose, wanted);
    SkyImage image;
    const int step = skyStep(wanted);
    image.width = (part.width + step - 1) / step;
    image.height = (part.height + step - 1) / step;
    image.rgb.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 3);
    forAllRows(image.height, [&](int row) {
        // The texture spans the part exactly, also where the last pixel is half a one.
        const double down = part.top + (row + 0.5) * part.height / image.height;
        std::uint8_t* pixel = image.rgb.data() + static_cast<std::size_t>(image.height - 1 - row) *
                                                     static_cast<std::size_t>(image.width) * 3;
        for (int column = 0; column < image.width; ++column, pixel += 3) {
            const double right = part.left + (column + 0.5) * part.width / image.width;
            const Direction d = rays.through(right / wanted.whole_height, down / wanted.whole_height);
            const auto shown = displayed(radiance(d) * gain);
            std::copy(shown.begin(), shown.end(), pixel);
        }
    });
    return image;
}

} // namespace ov3d::renderer
