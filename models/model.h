#pragma once

#include "models/mesh.h"

#include <QImage>
#include <QString>

#include <vector>

namespace ov3d::models {

/// How a material's alpha is meant, with the words of glTF.
enum class Alpha
{
    opaque,
    mask, ///< drawn where the texture's alpha is a half or more
    blend,
};

/// Look of a part. Colours are sRGB, components 0 to 1. Only glTF files carry what follows `textureName`.
struct Material
{
    QString name;
    Vec3 colour = {0.8, 0.8, 0.8};
    double metallic = 0;
    double roughness = 0.6;
    QImage texture;      ///< null: the colour alone
    QString textureName; ///< base name of the texture's file, without suffix

    double opacity = 1;
    Alpha alpha = Alpha::opaque;
    bool doubleSided = false;
    bool unlit = false;
    double clearCoat = 0;
    Vec3 emissive = {0, 0, 0};
    QImage emissiveTexture = {};
    QImage normalTexture = {};
    QImage surfaceTexture = {}; ///< red occlusion, green roughness, blue metallic
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
