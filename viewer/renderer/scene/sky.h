#pragma once

#include "viewer/camera/scenestatus.h"
#include "viewer/renderer/environment/lightchain.h"
#include "viewer/renderer/picture/cells.h"

#include <cstdint>
#include <vector>

namespace ov3d::renderer {

/// Smallest vertical field of view with which a sky is shown, radians. A model's camera sees too little of a sky to
/// tell which one it is, and from above nothing but its ground.
inline constexpr double kSkyFieldOfView = 1.35;

/// Pixels of the picture along one side of a pixel of the sky's image: large pictures show a sky of half the sharpness,
/// which looks like depth of field and takes a quarter of the time.
[[nodiscard]] int skyStep(const Wanted& wanted);

/// An image of the sky behind a part of a picture.
struct SkyImage
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb; ///< rows from bottom to top, as displayed
};

/// Draws the sky as the camera's direction shows it. Works on all processors.
///
/// @param wanted the whole picture's size; its part is not looked at.
/// @param gain brightness; 1 is neutral.
SkyImage drawSky(const Radiance& radiance, float gain, const camera::Pose& pose, const Wanted& wanted,
                 const Region& part);

} // namespace ov3d::renderer
