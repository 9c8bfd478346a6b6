#pragma once

#include "models/model.h"

namespace ov3d::models {

/// The default sample: a small still life of fruit and a vase on a wooden board, about 3.5 units wide, standing on y =
/// 0.
Model stillLife();

/// A cube of edge 2 about the origin: the front side (+Z) bears quartersTexture, the other sides are grey.
Model texturedCube();

/// A wavy grid of 4 by 4 units with at least `triangles` triangles (two for each cell of a square number of cells).
Model wavyGrid(int triangles);

/// Balls from smooth to rough (left to right) and from plastic to metal (top to bottom).
Model materialGrid();

/// One thing for each way to describe a surface: bricks with normals, occlusion and roughness, a lantern that glows, a
/// leaf that is cut out, a ball of red glass, a lacquered ball, and a sign that light does not change.
Model surfaceSamples();

} // namespace ov3d::models
