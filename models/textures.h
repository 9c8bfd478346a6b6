#pragma once

/// Textures made by formulas. Each function gives the same picture every time.

#include <QImage>

namespace ov3d::models {

/// Four flat areas, side by side without blending: upper left red (220, 40, 40), upper right blue (40, 80, 220), lower
/// left yellow (240, 200, 40), lower right white (245, 245, 245).
QImage quartersTexture(int size);

/// Rings and fibres of a wooden disc, seen from above; for texture coordinates of a lathe.
QImage woodTexture(int size);

/// Cobalt glaze with cream bands and a row of dots; wraps around in u.
QImage glazeTexture(int width, int height);

/// Skin of an apple, red with a yellow shoulder and fine streaks; wraps around in u.
QImage appleTexture(int width, int height);

/// Skin of a pear, golden with a blush and speckles; wraps around in u.
QImage pearTexture(int width, int height);

/// The six sides of a die in three by two square cells: 1, 4, 6, 3, 2, 5.
QImage dieTexture(int cell);

/// A wall of bricks, the same in every picture: colours, directions (green upwards), and red occlusion, green
/// roughness, blue metallic. They tile.
QImage bricksTexture(int size);
QImage bricksNormals(int size);
QImage bricksSurface(int size);

/// Lit windows on black.
QImage windowsTexture(int size);

/// A leaf whose surroundings are transparent.
QImage leafTexture(int size);

/// Black and yellow stripes.
QImage stripesTexture(int size);

} // namespace ov3d::models
