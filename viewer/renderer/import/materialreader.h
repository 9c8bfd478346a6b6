#pragma once

#include "viewer/renderer/import/importer.h"
#include "viewer/renderer/import/materialtranslation.h"
#include "viewer/renderer/import/sidefiles.h"
#include "viewer/renderer/import/texcoorduse.h"

#include <initializer_list>
#include <map>
#include <string>

struct aiMaterial;
struct aiScene;

namespace ov3d::renderer {

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
    /// A texture as the file has it.
    struct TextureUse
    {
        int type = 0; ///< an aiTextureType, 0 for none
        std::string name;
        TexcoordUse texcoords;
        Wrap wrap = Wrap::repeat;
        bool smooth = true;
    };

    [[nodiscard]] TextureUse textureUse(const aiMaterial& material, std::initializer_list<int> types) const;
    [[nodiscard]] TextureUse baseTexture(const aiMaterial& material) const;

    /// The texture that decides which coordinates the mesh gets: the base texture, or the first of the others.
    [[nodiscard]] TextureUse leadingTexture(const aiMaterial& material) const;

    void readColour(const aiMaterial& material, bool textured, MaterialData& out) const;
    void readAlpha(const aiMaterial& material, const TextureUse& texture, MaterialData& out);
    void readSurface(const aiMaterial& material, MaterialData& out) const;
    void readPhong(const aiMaterial& material, MaterialData& out) const;
    void readEmission(const aiMaterial& material, MaterialData& out) const;
    void readMaps(const aiMaterial& material, MaterialData& out);

    /// Notes a map that cannot be laid on the coordinates that the mesh gets.
    /// @param kind what the map is, in plain words.
    TextureMap readMap(const TextureUse& use, const TexcoordUse& leading, const char* kind, const MaterialData& of);
    void requireAllTextures(const aiMaterial& material);
    int loadTexture(const std::string& name);
    int whiteTexture();

    const aiScene& m_scene;
    const ImportRequest& m_request;
    SideFiles& m_sideFiles;
    ModelData& m_model;
    std::map<std::string, int> m_loaded; ///< texture index by name, -1 for one that cannot be had
    int m_white = -1;
};

} // namespace ov3d::renderer
