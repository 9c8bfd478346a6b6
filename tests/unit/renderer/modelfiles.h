#pragma once

#include <QByteArray>

/// Tiny models, written by hand: a unit cube around the origin with a face of its own colour on each side.
namespace modelfiles {

/// Needs the library "colours.mtl".
QByteArray cubeObj();

/// Front (+Z) red, right (+X) green of a leaf, top (+Y) blue, the others grey.
QByteArray cubeMtl();

/// A square in the X-Z plane that faces +Y of the file, as bytes: STL is +Z up.
QByteArray floorStl();

/// One triangle as a glTF.
/// @param bufferUri the buffer's address; empty for none (in a GLB).
QByteArray triangleGltf(const QByteArray& bufferUri);

/// Its buffer: three positions.
QByteArray triangleBuffer();

/// The same in one file.
QByteArray triangleGlb();

/// A square that faces +Z with the image "image.png" on it, its upper left corner at -X, +Y.
/// @param alphaMode OPAQUE, MASK or BLEND.
QByteArray squareGltf(const QByteArray& alphaMode);

/// Its buffer, "square.bin".
QByteArray squareBuffer();

/// A green pane of that opacity. Needs "pane.mtl".
QByteArray paneMtl(double opacity);
QByteArray paneObj();

} // namespace modelfiles
