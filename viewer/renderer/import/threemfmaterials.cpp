#include "viewer/renderer/import/threemfmaterials.h"

#include "viewer/renderer/import/threemfhandles.h"

#include <algorithm>

namespace ov3d::renderer {
namespace {

enum Kind
{
    kNeutral,
    kColours,
    kBase,
    kTexture,
};

/// As materials of other formats look that have none of their own.
constexpr float kNeutralColour[4] = {0.80f, 0.79f, 0.77f, 1.0f};

Wrap wrapFrom(NMR::eModelTextureTileStyle style)
{
    switch (style) {
    case NMR::MODELTEXTURETILESTYLE_MIRROR:
        return Wrap::mirror;
    case NMR::MODELTEXTURETILESTYLE_CLAMP:
    case NMR::MODELTEXTURETILESTYLE_NONE:
        return Wrap::clamp;
    default:
        return Wrap::repeat;
    }
}

std::string withoutSlash(std::string path)
{
    path.erase(0, std::min(path.find_first_not_of('/'), path.size()));
    return path;
}

} // namespace

ThreeMfMaterials::ThreeMfMaterials(void** model, const ZipPackage& package, const ImportRequest& request,
                                   ModelData& out)
    : m_model(model)
    , m_package(package)
    , m_request(request)
    , m_out(out)
{
}

std::uint32_t ThreeMfMaterials::add(const MaterialData& material)
{
    m_out.materials.push_back(material);
    return static_cast<std::uint32_t>(m_out.materials.size() - 1);
}

std::uint32_t ThreeMfMaterials::neutral()
{
    const auto [at, isNew] = m_known.try_emplace({kNeutral, {}});
    if (isNew) {
        MaterialData material;
        std::copy_n(kNeutralColour, 4, material.base_colour);
        at->second = add(material);
    }
    return at->second;
}

std::uint32_t ThreeMfMaterials::ofColours(bool translucent)
{
    const auto [at, isNew] = m_known.try_emplace({kColours, {translucent, 0}});
    if (isNew) {
        MaterialData material;
        std::fill_n(material.base_colour, 4, 1.0f);
        material.alpha_mode = translucent ? AlphaMode::blend : AlphaMode::opaque;
        at->second = add(material);
    }
    return at->second;
}

std::uint32_t ThreeMfMaterials::ofBase(std::uint32_t group, std::uint32_t index)
{
    if (const auto known = m_known.find({kBase, {group, index}}); known != m_known.end())
        return known->second;
    const auto materials = threemf::get(NMR::lib3mf_model_getbasematerialbyid, m_model, group);
    BYTE rgba[4] = {};
    if (!materials || NMR::lib3mf_basematerial_getdisplaycolor(materials.get(), index, &rgba[0], &rgba[1], &rgba[2],
                                                               &rgba[3]) != 0)
        return m_known[{kBase, {group, index}}] = neutral();
    MaterialData material;
    material.name = threemf::text(NMR::lib3mf_basematerial_getnameutf8, materials.get(), index);
    for (int channel = 0; channel < 4; ++channel)
        material.base_colour[channel] = static_cast<float>(rgba[channel]) / 255.0f;
    material.alpha_mode = rgba[3] < 255 ? AlphaMode::blend : AlphaMode::opaque;
    return m_known[{kBase, {group, index}}] = add(material);
}

std::uint32_t ThreeMfMaterials::ofTexture(std::uint32_t texture)
{
    const auto [at, isNew] = m_known.try_emplace({kTexture, {texture, 0}});
    if (isNew) {
        MaterialData material;
        std::fill_n(material.base_colour, 4, 1.0f);
        readTexture(texture, material);
        at->second = add(material);
    }
    return at->second;
}

void ThreeMfMaterials::readTexture(std::uint32_t texture, MaterialData& material)
{
    const auto source = threemf::get(NMR::lib3mf_model_gettexture2dbyid, m_model, texture);
    if (!source) {
        m_out.notes.push_back("a texture that the model names is not defined");
        return;
    }
    const std::string name = withoutSlash(threemf::text(NMR::lib3mf_texture2d_getpathutf8, source.get()));
    auto styleU = NMR::MODELTEXTURETILESTYLE_WRAP;
    auto styleV = NMR::MODELTEXTURETILESTYLE_WRAP;
    if (NMR::lib3mf_texture2d_gettilestyleuv(source.get(), &styleU, &styleV) == 0)
        material.wrap = wrapFrom(styleU);

    material.base_texture = loadPicture(name);
}

int ThreeMfMaterials::loadPicture(const std::string& name)
{
    const auto [known, isNew] = m_pictures.try_emplace(name, -1);
    if (!isNew)
        return known->second;
    const ZipPackage::Entry* entry = m_package.find(name);
    if (entry == nullptr) {
        m_out.missing.push_back(name);
        return -1;
    }
    if (m_request.without_textures || m_request.list_only)
        return -1;
    TextureData data;
    data.name = name;
    const std::string damage = m_package.read(*entry, [&data](std::string_view piece) {
        data.encoded.insert(data.encoded.end(), piece.begin(), piece.end());
        return true;
    });
    if (!damage.empty() || data.encoded.empty()) {
        m_out.notes.push_back("texture " + name + " " + (damage.empty() ? "is empty" : damage));
        return -1;
    }
    known->second = static_cast<int>(m_out.textures.size());
    m_out.textures.push_back(std::move(data));
    return known->second;
}

} // namespace ov3d::renderer
