#pragma once

#include "tests/unit/renderer/modelfolder.h"

#include <QByteArrayList>
#include <QImage>

/// Squares that face +Z, with whatever material a test wants.
namespace surfacefiles {

/// A glTF square from -1 to 1 in X and Y.
/// @param material the JSON of one material.
/// @param textures each becomes a texture of that index.
/// @return the file's path.
QString writeSquare(ModelFolder& folder, const QByteArray& material, const QList<QImage>& textures = {},
                    const QByteArray& extensions = {});

/// An image of one colour.
QImage plain(const QColor& colour);

/// Two halves side by side.
QImage halves(const QColor& left, const QColor& right);

/// A square of an OBJ; its library "square.mtl" holds `properties` of its material.
QString writeObjSquare(ModelFolder& folder, const QByteArray& properties);

} // namespace surfacefiles
