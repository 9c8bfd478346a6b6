#include "viewer/renderer/import/materialreader.h"

#include "src/render/viewcontext.h"
#include "viewer/renderer/import/filebytes.h"

#include <algorithm>
#include <assimp/GltfMaterial.h>
#include <assimp/scene.h>
#include <cmath>
#include <cstring>
#include <limits>

namespace ov3d::renderer {
namespace {

/// What has no material of its own is shown in a light, slightly warm grey.
constexpr float kNeutral[4] = {0.80f, 0.79f, 0.77f, 1.0f};

Wrap wrapFrom(aiTextureMapMode mode)
{
    switch (mode) {
    case aiTextureMapMode_Clamp:
    case aiTextureMapMode_Decal:
        return Wrap::clamp;
    case aiTextureMapMode_Mirror:
        return Wrap::mirror;
    default:
        return Wrap::repeat;
    }
}

bool isGltf(std::int32_t format)
{
    return format == kFormatGltf || format == kFormatGlb;
}

bool has(const aiMaterial& material, const char* key)
{
    for (unsigned i = 0; i < material.mNumProperties; ++i)
        if (std::strcmp(material.mProperties[i]->mKey.data, key) == 0)
            return true;
    return false;
}

/// Specular-glossiness materials keep their colour where older materials do.
bool isSpecularGlossiness(const aiMaterial& material)
{
    return has(material, "$mat.glossinessFactor");
}

float clamped(float value)
{
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
}

void applyTransform(const aiUVTransform& transform, TexcoordUse& use)
{
    use.m[0][0] = double{transform.mScaling.x};
    use.m[0][2] = double{transform.mTranslation.x};
    use.m[1][1] = double{transform.mScaling.y};
    use.m[1][2] = double{transform.mTranslation.y};
}

/// Assimp translates a glTF's transform into one around the image's centre, and its own step that applies it disagrees
/// with that. So the file's values are recovered, and applied as the extension's definition has them.
void applyGltfTransform(const aiUVTransform& transform, TexcoordUse& use)
{
    const double scaleX = double{transform.mScaling.x};
    const double scaleY = double{transform.mScaling.y};
    const double cosine = std::cos(-double{transform.mRotation});
    const double sine = std::sin(-double{transform.mRotation});
    const double offsetX = double{transform.mTranslation.x} - 0.5 * scaleX * (-cosine + sine + 1);
    const double offsetY = -(double{transform.mTranslation.y} - 0.5 * scaleY * (sine + cosine - 1) - 1 + scaleY);
    // With v downwards: u' = cos sx u + sin sy v + ox, v' = -sin sx u + cos sy v + oy. Here v is 1 less that.
    use.m[0][0] = cosine * scaleX;
    use.m[0][1] = -sine * scaleY;
    use.m[0][2] = sine * scaleY + offsetX;
    use.m[1][0] = sine * scaleX;
    use.m[1][1] = cosine * scaleY;
    use.m[1][2] = 1 - cosine * scaleY - offsetY;
}

TextureData copyEmbedded(const aiTexture& source, const std::string& name)
{
    TextureData texture;
    texture.name = name;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(source.pcData);
    if (source.mHeight == 0) {
        texture.encoded.assign(bytes, bytes + source.mWidth);
        return texture;
    }
    texture.width = static_cast<int>(source.mWidth);
    texture.height = static_cast<int>(source.mHeight);
    texture.pixels.reserve(std::size_t{source.mWidth} * source.mHeight * 4);
    for (std::size_t i = 0; i < std::size_t{source.mWidth} * source.mHeight; ++i) {
        const aiTexel& texel = source.pcData[i];
        texture.pixels.insert(texture.pixels.end(), {texel.r, texel.g, texel.b, texel.a});
    }
    return texture;
}

} // namespace

float displayedFromLinear(float linear)
{
    const float value = clamped(linear);
    return value <= 0.0031308f ? value * 12.92f : 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f;
}

MaterialReader::MaterialReader(const aiScene& scene, const ImportRequest& request, SideFiles& sideFiles,
                               ModelData& model)
    : m_scene(scene)
    , m_request(request)
    , m_sideFiles(sideFiles)
    , m_model(model)
{
}

MaterialData MaterialReader::read(unsigned index)
{
    MaterialData out;
    std::copy_n(kNeutral, 4, out.base_colour);
    if (index >= m_scene.mNumMaterials)
        return out;
    const aiMaterial& material = *m_scene.mMaterials[index];

    aiString name;
    material.Get(AI_MATKEY_NAME, name);
    out.name = name.C_Str();
    requireAllTextures(material);

    const BaseTexture texture = baseTexture(material);
    if (!texture.name.empty() && !m_request.without_textures && !m_request.list_only)
        out.base_texture = loadTexture(texture.name);
    out.wrap = texture.wrap;

    const bool ownColours = m_request.model_format != kFormatStl && out.name != AI_DEFAULT_MATERIAL_NAME;
    if (ownColours) {
        readColour(material, out.base_texture >= 0, out);
        readAlpha(material, texture, out);
    }
    int shading = 0;
    out.unlit = material.Get(AI_MATKEY_SHADING_MODEL, shading) == aiReturn_SUCCESS &&
                shading == aiShadingMode_NoShading && isGltf(m_request.model_format);
    return out;
}

bool MaterialReader::hasLinearColours() const
{
    return isGltf(m_request.model_format);
}

TexcoordUse MaterialReader::texcoordUse(unsigned index) const
{
    TexcoordUse use;
    if (index >= m_scene.mNumMaterials)
        return use;
    const aiMaterial& material = *m_scene.mMaterials[index];
    const BaseTexture texture = baseTexture(material);
    use.set = texture.texcoords;
    aiUVTransform transform;
    if (material.Get(AI_MATKEY_UVTRANSFORM(static_cast<aiTextureType>(texture.type), 0), transform) == aiReturn_SUCCESS)
        isGltf(m_request.model_format) ? applyGltfTransform(transform, use) : applyTransform(transform, use);
    return use;
}

MaterialReader::BaseTexture MaterialReader::baseTexture(const aiMaterial& material) const
{
    std::vector<aiTextureType> types{aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE};
    if (isSpecularGlossiness(material))
        std::reverse(types.begin(), types.end());
    for (const aiTextureType type : types) {
        aiString path;
        unsigned set = 0;
        aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
        if (material.GetTexture(type, 0, &path, nullptr, &set, nullptr, nullptr, modes) == aiReturn_SUCCESS &&
            path.length > 0)
            return {type, path.C_Str(), set, wrapFrom(modes[0])};
    }
    return {};
}

void MaterialReader::readColour(const aiMaterial& material, bool textured, MaterialData& out) const
{
    aiColor4D colour(1, 1, 1, 1);
    const bool physical =
        !isSpecularGlossiness(material) && material.Get(AI_MATKEY_BASE_COLOR, colour) == aiReturn_SUCCESS;
    if (!physical && material.Get(AI_MATKEY_COLOR_DIFFUSE, colour) != aiReturn_SUCCESS)
        colour = textured ? aiColor4D(1, 1, 1, 1) : aiColor4D(kNeutral[0], kNeutral[1], kNeutral[2], 1);
    // Many exporters write black beside a texture and mean the texture alone.
    if (!isGltf(m_request.model_format) && textured && colour.r <= 0 && colour.g <= 0 && colour.b <= 0)
        colour = aiColor4D(1, 1, 1, 1);

    const bool linear = isGltf(m_request.model_format) && (physical || isSpecularGlossiness(material));
    for (unsigned channel = 0; channel < 3; ++channel)
        out.base_colour[channel] = linear ? displayedFromLinear(colour[channel]) : clamped(colour[channel]);
    out.base_colour[3] = isGltf(m_request.model_format) ? clamped(colour.a) : 1.0f;
}

void MaterialReader::readAlpha(const aiMaterial& material, const BaseTexture& texture, MaterialData& out) const
{
    aiString mode;
    if (material.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == aiReturn_SUCCESS) {
        material.Get(AI_MATKEY_GLTF_ALPHACUTOFF, out.alpha_cutoff);
        out.alpha_mode = std::strcmp(mode.C_Str(), "BLEND") == 0  ? AlphaMode::blend
                         : std::strcmp(mode.C_Str(), "MASK") == 0 ? AlphaMode::mask
                                                                  : AlphaMode::opaque;
        if (out.alpha_mode == AlphaMode::opaque)
            out.base_colour[3] = 1.0f;
        return;
    }

    float opacity = 1.0f;
    // Exporters disagree about which end of the scale is opaque, and nobody means an invisible model.
    if (material.Get(AI_MATKEY_OPACITY, opacity) == aiReturn_SUCCESS && opacity > 0.0f && opacity < 1.0f) {
        out.base_colour[3] = opacity;
        out.alpha_mode = AlphaMode::blend;
    }
    aiString opacityMap;
    if (material.GetTexture(aiTextureType_OPACITY, 0, &opacityMap) == aiReturn_SUCCESS &&
        texture.name == opacityMap.C_Str())
        out.alpha_mode = AlphaMode::blend;
}

void MaterialReader::requireAllTextures(const aiMaterial& material)
{
    for (int type = aiTextureType_DIFFUSE; type <= AI_TEXTURE_TYPE_MAX; ++type) {
        const unsigned count = std::min(material.GetTextureCount(static_cast<aiTextureType>(type)), 64U);
        for (unsigned i = 0; i < count; ++i) {
            aiString path;
            if (material.GetTexture(static_cast<aiTextureType>(type), i, &path) != aiReturn_SUCCESS || path.length == 0)
                continue;
            if (path.C_Str()[0] != '*' && m_scene.GetEmbeddedTexture(path.C_Str()) == nullptr)
                m_sideFiles.require(path.C_Str());
        }
    }
}

int MaterialReader::loadTexture(const std::string& name)
{
    if (const auto known = m_loaded.find(name); known != m_loaded.end())
        return known->second;
    int& index = m_loaded[name];
    index = -1;

    TextureData texture;
    if (const aiTexture* embedded = m_scene.GetEmbeddedTexture(name.c_str())) {
        if (embedded->pcData != nullptr)
            texture = copyEmbedded(*embedded, name);
    } else if (const auto found = m_sideFiles.find(name)) {
        FileBytes bytes;
        std::string reason;
        texture.name = found->relative;
        if (bytes.open(found->absolute, reason))
            texture.encoded.assign(bytes.data(), bytes.data() + bytes.size());
        else
            m_model.notes.push_back("texture " + texture.name + " " + reason);
    }
    if (!texture.encoded.empty() || !texture.pixels.empty()) {
        index = static_cast<int>(m_model.textures.size());
        m_model.textures.push_back(std::move(texture));
    }
    return index;
}

} // namespace ov3d::renderer
