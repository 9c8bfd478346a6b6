#pragma once

#include "viewer/renderer/import/importer.h"
#include "viewer/renderer/import/zippackage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace ov3d::renderer {

/// The materials of a 3MF model, with their pictures, each translated at its first use.
class ThreeMfMaterials
{
public:
    /// All outlive this object. Materials, textures, missing files and notes are added to `out`.
    ThreeMfMaterials(void** model, const ZipPackage& package, const ImportRequest& request, ModelData& out);

    /// @return index of the material of what has no properties.
    std::uint32_t neutral();

    /// @return index of a material whose colours stand at the vertices.
    std::uint32_t ofColours(bool translucent);

    /// @param group,index a base material. An unknown one gives the neutral material.
    std::uint32_t ofBase(std::uint32_t group, std::uint32_t index);

    /// @param texture resource id. A texture that cannot be had gives a white material without one.
    std::uint32_t ofTexture(std::uint32_t texture);

private:
    std::uint32_t add(const MaterialData& material);
    void readTexture(std::uint32_t texture, MaterialData& material);
    int loadPicture(const std::string& name);

    void** m_model;
    const ZipPackage& m_package;
    const ImportRequest& m_request;
    ModelData& m_out;
    using Key = std::pair<int, std::pair<std::uint32_t, std::uint32_t>>;
    std::map<Key, std::uint32_t> m_known;
    std::map<std::string, int> m_pictures; ///< texture index by the part's name, -1 for one that cannot be had
};

} // namespace ov3d::renderer
