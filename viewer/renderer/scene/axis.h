#pragma once

#include "viewer/camera/scenestatus.h"
#include "viewer/renderer/picture/cells.h"

#include <cstdint>
#include <vector>

namespace ov3d::renderer {

/// Where the trihedron lies in a picture of that size: a square in the lower left corner, pixels.
[[nodiscard]] Region axisPlace(int wholeWidth, int wholeHeight);

/// Samples of the trihedron: RGBA, rows from top to bottom, alpha 255 where it is and 0 elsewhere.
struct AxisImage
{
    int side = 0;
    std::vector<std::uint8_t> rgba;
};

/// Draws the world's axes as the camera's direction shows them: X red, Y green, Z blue, each with its letter.
/// @param side samples along one side.
AxisImage drawAxis(const camera::Pose& pose, int side);

/// Lays the trihedron over the samples of a part of a picture.
/// @param samples RGBA, `factor` x `factor` samples a pixel, rows from bottom to top, as OpenGL returns them.
void layAxisOver(const AxisImage& axis, const Region& place, const Region& part, int factor, std::uint8_t* samples);

} // namespace ov3d::renderer
