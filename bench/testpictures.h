#pragma once

#include <QImage>

/// Pictures to measure on, drawn by our own code: shapes before the viewer's key colour.
namespace ov3d::bench {

/// One round body: long runs, few rectangles. Format_ARGB32, opaque.
QImage bodyPicture(int width, int height);

/// Slanted bars with gaps: many short runs, rows that never match the one above.
QImage barsPicture(int width, int height);

} // namespace ov3d::bench
