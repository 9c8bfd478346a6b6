#pragma once

#include "models/mesh.h"

#include <QImage>
#include <QString>

#include <vector>

namespace ov3d::models {

/// Look of a part. Colours are sRGB, components 0 to 1.
struct Material
{
    QString name;
    Vec3 colour = {0.8, 0.8, 0.8};
    double metallic = 0;
    double roughness = 0.6;
    QImage texture;      ///< null: the colour alone
    QString textureName; ///< base name of the texture's file, without suffix
};

struct Part
{
    QString name;
    Mesh mesh;
    Material material;
};

using Model = std::vector<Part>;

/// All parts in one mesh, for formats without materials.
Mesh merged(const Model& model);

} // namespace ov3d::models
