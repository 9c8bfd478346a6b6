#pragma once

#include "viewer/renderer/import/importer.h"
#include "viewer/renderer/import/sidefiles.h"

#include <map>
#include <string>

struct aiMaterial;
struct aiScene;

namespace ov3d::renderer {

/// Which texture coordinates a base texture uses, and how: u' = m[0][0] u + m[0][1] v + m[0][2], v' alike, v upwards.
struct TexcoordUse
{
    unsigned set = 0;
    double m[2][3] = {{1, 0, 0}, {0, 1, 0}};
};

/// Translates the materials of an Assimp scene, with the images that they use.
class MaterialReader
{
public:
    /// Both outlive the reader. Textures are added to `model`.
    MaterialReader(const aiScene& scene, const ImportRequest& request, SideFiles& sideFiles, ModelData& model);

    /// @param index of the scene's material, or beyond the last one for a neutral material.
    MaterialData read(unsigned index);

    /// @param index as for read().
    [[nodiscard]] TexcoordUse texcoordUse(unsigned index) const;

    /// @return whether vertex colours are light intensities (glTF) and not values as displayed.
    [[nodiscard]] bool hasLinearColours() const;

private:
    struct BaseTexture
    {
        int type = 0; ///< an aiTextureType, 0 for none
        std::string name;
        unsigned texcoords = 0;
        Wrap wrap = Wrap::repeat;
    };

    [[nodiscard]] BaseTexture baseTexture(const aiMaterial& material) const;
    void readColour(const aiMaterial& material, bool textured, MaterialData& out) const;
    void readAlpha(const aiMaterial& material, const BaseTexture& texture, MaterialData& out) const;
    void requireAllTextures(const aiMaterial& material);
    int loadTexture(const std::string& name);

    const aiScene& m_scene;
    const ImportRequest& m_request;
    SideFiles& m_sideFiles;
    ModelData& m_model;
    std::map<std::string, int> m_loaded; ///< texture index by name, -1 for one that cannot be had
};

/// A light intensity (linear) as the value that is displayed (sRGB), both 0 to 1.
float displayedFromLinear(float linear);

} // namespace ov3d::renderer
