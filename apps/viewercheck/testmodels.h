#pragma once

#include <QString>
#include <QStringList>

namespace ov3d::viewercheck {

/// The small models that the check shows to a viewer. No colour in them is green, so that green at an edge can only
/// come from the key colour.
struct TestModels
{
    QString folder;    ///< absolute, without a trailing separator
    QString textured;  ///< an OBJ cube with a material library and one texture in a folder beside it
    QString plain;     ///< the same cube in one colour
    QString keyGreen;  ///< the same cube in exactly the key colour
    QString manyFiles; ///< an OBJ whose side files' names do not fit into file_list
    QString large;     ///< an OBJ that takes a moment to read
    QString damaged;   ///< a .glb that is none
    QString missing;   ///< no such file
    QString cutPath;   ///< a link to `plain`, its path exactly 256 bytes; empty when the folder's path is too long

    QString texture;         ///< of `textured`, relative to the folder
    QString materialLibrary; ///< the same
    QStringList manyTextures;
};

/// Writes the models into the folder. @return false when the folder cannot be written.
bool writeTestModels(const QString& folder, TestModels& models);

} // namespace ov3d::viewercheck
