#pragma once

/// File writers. Each returns an empty text, or the reason why a file could not be written. They write the same bytes
/// for the same model on every machine.

#include "models/model.h"

#include <QString>

namespace ov3d::models {

/// One binary glTF 2.0 file with everything inside.
QString writeGlb(const QString& path, const Model& model);

/// A glTF 2.0 file whose buffer and textures stand in the folder `sideFolder` beside it.
QString writeGltf(const QString& path, const Model& model, const QString& sideFolder);

/// A Wavefront OBJ file with its material library beside it and its textures in `sideFolder`.
QString writeObj(const QString& path, const Model& model, const QString& sideFolder);

QString writeBinaryStl(const QString& path, const Mesh& mesh);
QString writeTextStl(const QString& path, const Mesh& mesh);

/// A binary FBX 7.4 file with one mesh and one plain material.
QString writeFbx(const QString& path, const Mesh& mesh, const Material& material);

/// Writes the bytes to a temporary name and renames it. @return the reason of a failure, or an empty text.
QString writeFile(const QString& path, const QByteArray& bytes);

} // namespace ov3d::models
