#pragma once

class QImage;

/// Makes the viewer's key colour (red 92, green 238, blue 20, each within 2) transparent, with one pixel of fringe on
/// each side of every horizontal run of it. Only alpha bytes change.
///
/// The run state is carried from row to row, so a row that ends in key pixels makes the next row's first pixel
/// transparent; viewers count on it.
///
/// @param image  QImage::Format_ARGB32.
void keyOutBackground(QImage& image);
