#pragma once

/// Functions on frames: cheap reduction, the rectangles of the opaque part, integer HSV. Any thread; no state besides
/// the exported `m_pyramidUpdate`.

#include <QImage>
#include <QList>
#include <QRect>
#include <QSize>

/// Splits the opaque part of a frame into rectangles that cover it exactly, without overlap.
///
/// @param image      8 or 32 bits a pixel (the byte, or the alpha byte, is the pixel's value); any other depth gives an
///     empty list.
/// @param threshold  smallest value that counts as opaque; 0 and less takes every pixel.
/// @return inclusive pixel bounds, in the order in which the blocks were closed.
///
/// One pass over the rows; keeps the runs of two rows. A block grows only while every run of a row matches its
/// predecessor one to one.
QList<QRect> rectsFromImage(const QImage& image, int threshold);

/// Reduces a frame of more than 512 x 512 pixels to a quarter or a sixteenth in each dimension. `requested` only
/// chooses the level: a quarter from 16 times its area, a sixteenth from 256 times.
/// @return the source itself when it is small enough, a null image when `m_pyramidUpdate` is off and a level was
/// chosen.
QImage getMatchImageEx(const QImage& source, const QSize& requested);

/// The same.
QImage getMatchImage(const QImage& source, const QSize& requested);

/// Reduces a frame to at most `limit` x `limit` pixels, aspect ratio kept. @return true.
bool getImageForPath(const QImage& source, QImage& output, int limit);

/// Integer HSV of a colour with components 0 to 255: hue 0 to 360 (rounded half up, 360 included) or -1 for grey,
/// saturation and value 0 to 255.
void rgb_to_hsv(int r, int g, int b, int* h, int* s, int* v);
