#include "viewer/renderer/import/materialreader.h"

#include "src/render/viewcontext.h"
#include "viewer/renderer/import/filebytes.h"

#include <algorithm>
#include <assimp/GltfMaterial.h>
#include <assimp/scene.h>
#include <cmath>
#include <cstring>

namespace ov3d::renderer {
namespace {

/// What has no material of its own is shown in a light, slightly warm grey.
constexpr float kNeutral[4] = {0.70f, 0.69f, 0.67f, 1.0f};

/// Even the clearest glass stays visible on a page.
constexpr float kMostTransmission = 0.8f;

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

/// A glTF sampler's filter for what is drawn larger than it is, as the file numbers them.
constexpr unsigned kNearest = 9728;

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

float number(const aiMaterial& material, const char* key, unsigned type, unsigned index, float absent)
{
    float value = absent;
    return material.Get(key, type, index, value) == aiReturn_SUCCESS && std::isfinite(value) ? value : absent;
}

float clamped(float value)
{
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
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

    const TextureUse texture = baseTexture(material);
    if (!texture.name.empty())
        out.base_texture = loadTexture(texture.name);
    out.wrap = texture.wrap;
    out.smooth = texture.smooth;

    const bool ownColours = m_request.model_format != kFormatStl && out.name != AI_DEFAULT_MATERIAL_NAME;
    if (ownColours) {
        readColour(material, out.base_texture >= 0, out);
        readSurface(material, out);
        readEmission(material, out);
        readAlpha(material, texture, out);
        readMaps(material, out);
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
    return index < m_scene.mNumMaterials ? leadingTexture(*m_scene.mMaterials[index]).texcoords : TexcoordUse();
}

MaterialReader::TextureUse MaterialReader::textureUse(const aiMaterial& material,
                                                      std::initializer_list<int> types) const
{
    for (const int number : types) {
        const auto type = static_cast<aiTextureType>(number);
        aiString path;
        TextureUse use;
        aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
        if (material.GetTexture(type, 0, &path, nullptr, &use.texcoords.set, nullptr, nullptr, modes) !=
                aiReturn_SUCCESS ||
            path.length == 0)
            continue;
        use.type = number;
        use.name = path.C_Str();
        use.wrap = wrapFrom(modes[0]);
        unsigned filter = 0;
        use.smooth =
            material.Get(AI_MATKEY_GLTF_MAPPINGFILTER_MAG(type, 0), filter) != aiReturn_SUCCESS || filter != kNearest;
        aiUVTransform transform;
        if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == aiReturn_SUCCESS)
            applyTransform(transform, isGltf(m_request.model_format), use.texcoords);
        return use;
    }
    return {};
}

MaterialReader::TextureUse MaterialReader::baseTexture(const aiMaterial& material) const
{
    return isSpecularGlossiness(material) ? textureUse(material, {aiTextureType_DIFFUSE, aiTextureType_BASE_COLOR})
                                          : textureUse(material, {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE});
}

MaterialReader::TextureUse MaterialReader::leadingTexture(const aiMaterial& material) const
{
    TextureUse base = baseTexture(material);
    if (!base.name.empty())
        return base;
    return textureUse(material, {aiTextureType_NORMALS, aiTextureType_UNKNOWN, aiTextureType_DIFFUSE_ROUGHNESS,
                                 aiTextureType_METALNESS, aiTextureType_SPECULAR, aiTextureType_EMISSIVE,
                                 aiTextureType_EMISSION_COLOR, aiTextureType_LIGHTMAP, aiTextureType_AMBIENT_OCCLUSION,
                                 aiTextureType_NORMAL_CAMERA, aiTextureType_HEIGHT, aiTextureType_OPACITY});
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

void MaterialReader::readAlpha(const aiMaterial& material, const TextureUse& texture, MaterialData& out)
{
    aiString mode;
    if (material.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == aiReturn_SUCCESS) {
        material.Get(AI_MATKEY_GLTF_ALPHACUTOFF, out.alpha_cutoff);
        out.alpha_mode = std::strcmp(mode.C_Str(), "BLEND") == 0  ? AlphaMode::blend
                         : std::strcmp(mode.C_Str(), "MASK") == 0 ? AlphaMode::mask
                                                                  : AlphaMode::opaque;
        if (out.alpha_mode == AlphaMode::opaque)
            out.base_colour[3] = 1.0f;
        // What lets light through is shown as what hides less: nothing behind it is bent, as by a thin pane.
        const float transmission = clamped(number(material, AI_MATKEY_TRANSMISSION_FACTOR, 0.0f));
        if (transmission > 0.0f) {
            out.base_colour[3] *= 1.0f - kMostTransmission * transmission;
            out.alpha_mode = AlphaMode::blend;
        }
        return;
    }

    float opacity = 1.0f;
    // Exporters disagree about which end of the scale is opaque, and nobody means an invisible model.
    if (material.Get(AI_MATKEY_OPACITY, opacity) == aiReturn_SUCCESS && opacity > 0.0f && opacity < 1.0f) {
        out.base_colour[3] = opacity;
        out.alpha_mode = AlphaMode::blend;
    }
    const TextureUse opacityMap = textureUse(material, {aiTextureType_OPACITY});
    if (opacityMap.name.empty())
        return;
    if (opacityMap.name != texture.name)
        out.opacity_texture = loadTexture(opacityMap.name);
    if (opacityMap.name == texture.name || out.opacity_texture >= 0)
        out.alpha_mode = AlphaMode::blend;
}

void MaterialReader::readSurface(const aiMaterial& material, MaterialData& out) const
{
    int twoSided = 0;
    if (isGltf(m_request.model_format))
        out.double_sided = material.Get(AI_MATKEY_TWOSIDED, twoSided) == aiReturn_SUCCESS && twoSided != 0;
    out.clear_coat = clamped(number(material, AI_MATKEY_CLEARCOAT_FACTOR, 0.0f));
    out.clear_coat_roughness = clamped(number(material, AI_MATKEY_CLEARCOAT_ROUGHNESS_FACTOR, 0.0f));

    if (isSpecularGlossiness(material)) {
        out.glossiness = clamped(number(material, AI_MATKEY_GLOSSINESS_FACTOR, 1.0f));
        aiColor4D specular(1, 1, 1, 1);
        material.Get(AI_MATKEY_COLOR_SPECULAR, specular);
        out.roughness = 1.0f - out.glossiness;
        for (unsigned i = 0; i < 3; ++i)
            out.specular[i] = displayedFromLinear(specular[i]);
        if (!textureUse(material, {aiTextureType_SPECULAR}).name.empty())
            return; // pixel by pixel, when the images are there
        Colour diffuse{};
        for (std::size_t i = 0; i < 3; ++i)
            diffuse[i] = linearFromDisplayed(out.base_colour[i]);
        const MetallicRoughness translated =
            fromSpecularGlossiness(diffuse, {clamped(specular.r), clamped(specular.g), clamped(specular.b)});
        // A texture multiplies the scattered colour, so that it must not be mixed with the reflected one.
        const bool plain = out.base_texture < 0 || translated.metallic > 0.9f;
        out.metallic = plain ? translated.metallic : 0.0f;
        for (std::size_t i = 0; plain && i < 3; ++i)
            out.base_colour[i] = displayedFromLinear(translated.base[i]);
    } else if (has(material, "$mat.roughnessFactor") &&
               (m_request.model_format != kFormatFbx || has(material, "$mat.metallicFactor"))) {
        // Assimp gives every FBX material a roughness, made of the shininess alone.
        out.roughness = clamped(number(material, AI_MATKEY_ROUGHNESS_FACTOR, 1.0f));
        out.metallic = clamped(number(material, AI_MATKEY_METALLIC_FACTOR, 0.0f));
        // The defaults of glTF make a wholly rough metal of what says nothing about its surface, and nobody means one.
        if (isGltf(m_request.model_format) && out.metallic == 1.0f && out.roughness == 1.0f &&
            textureUse(material, {aiTextureType_UNKNOWN}).name.empty())
            out.metallic = 0.0f;
    } else if (!isGltf(m_request.model_format)) {
        readPhong(material, out);
    }
}

void MaterialReader::readPhong(const aiMaterial& material, MaterialData& out) const
{
    aiColor4D specular(0, 0, 0, 1);
    material.Get(AI_MATKEY_COLOR_SPECULAR, specular);
    int shading = 0;
    const bool matte = material.Get(AI_MATKEY_SHADING_MODEL, shading) == aiReturn_SUCCESS &&
                       (shading == aiShadingMode_Gouraud || shading == aiShadingMode_Flat);
    const float strength = std::max({clamped(specular.r), clamped(specular.g), clamped(specular.b)}) *
                           clamped(number(material, AI_MATKEY_SHININESS_STRENGTH, 1.0f));
    out.roughness = roughnessFromPhong(number(material, AI_MATKEY_SHININESS, 0.0f), matte ? 0.0f : strength);
    out.metallic = clamped(number(material, AI_MATKEY_METALLIC_FACTOR, 0.0f));
}

void MaterialReader::readEmission(const aiMaterial& material, MaterialData& out) const
{
    aiColor4D emissive(0, 0, 0, 1);
    material.Get(AI_MATKEY_COLOR_EMISSIVE, emissive);
    const bool gltf = isGltf(m_request.model_format);
    for (unsigned i = 0; i < 3; ++i)
        out.emissive[i] = gltf ? displayedFromLinear(emissive[i]) : clamped(emissive[i]);
}

void MaterialReader::readMaps(const aiMaterial& material, MaterialData& out)
{
    const TexcoordUse leading = leadingTexture(material).texcoords;
    const auto map = [&](std::initializer_list<int> types, const char* kind) {
        return readMap(textureUse(material, types), leading, kind, out);
    };
    out.normal_map = map({aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA}, "normal");
    out.normal_scale = number(material, AI_MATKEY_GLTF_TEXTURE_SCALE(aiTextureType_NORMALS, 0), 1.0f);
    if (out.normal_map.texture < 0) {
        out.normal_map = map({aiTextureType_HEIGHT}, "bump");
        out.normal_kind = BumpKind::unknown;
    }
    out.occlusion_map = map({aiTextureType_LIGHTMAP, aiTextureType_AMBIENT_OCCLUSION}, "occlusion");
    out.occlusion_strength =
        clamped(number(material, AI_MATKEY_GLTF_TEXTURE_STRENGTH(aiTextureType_LIGHTMAP, 0), 1.0f));

    const TextureUse emissive = textureUse(material, {aiTextureType_EMISSIVE, aiTextureType_EMISSION_COLOR});
    out.emissive_map = readMap(emissive, leading, "emission", out);
    // In older formats the texture alone counts, and what glows where it says so does not glow all over without it.
    if (!isGltf(m_request.model_format) && !emissive.name.empty())
        std::fill(std::begin(out.emissive), std::end(out.emissive), out.emissive_map.texture >= 0 ? 1.0f : 0.0f);

    if (isSpecularGlossiness(material)) {
        out.roughness_map = map({aiTextureType_SPECULAR}, "glossiness");
        out.roughness_channels = RoughnessChannels::specular_glossiness;
    } else if (isGltf(m_request.model_format)) {
        out.roughness_map = map({aiTextureType_UNKNOWN}, "roughness");
    } else {
        out.roughness_map = map({aiTextureType_DIFFUSE_ROUGHNESS}, "roughness");
        out.roughness_channels = RoughnessChannels::roughness;
        if (out.roughness_map.texture >= 0) {
            out.roughness = 1.0f;
        } else {
            out.roughness_map = map({aiTextureType_METALNESS}, "metallic");
            out.roughness_channels = RoughnessChannels::metallic;
            out.metallic = out.roughness_map.texture >= 0 ? 1.0f : out.metallic;
        }
    }
    const bool mapped = std::max({out.normal_map.texture, out.occlusion_map.texture, out.emissive_map.texture,
                                  out.roughness_map.texture, out.opacity_texture}) >= 0;
    if (mapped && out.base_texture < 0)
        out.base_texture = whiteTexture();
}

TextureMap MaterialReader::readMap(const TextureUse& use, const TexcoordUse& leading, const char* kind,
                                   const MaterialData& of)
{
    TextureMap map;
    if (use.name.empty())
        return map;
    // A mesh keeps one set of texture coordinates; what uses another one would lie wrongly.
    if (use.texcoords.set != leading.set || !relativeTransform(use.texcoords, leading, map.m)) {
        const std::string name = of.name.empty() ? "a material without a name" : "material " + of.name;
        m_model.notes.push_back("the " + std::string(kind) + " map of " + name +
                                " lies on other texture coordinates than its other textures and is left out");
        return map;
    }
    map.wrap = use.wrap;
    map.smooth = use.smooth;
    map.texture = loadTexture(use.name);
    return map;
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

int MaterialReader::whiteTexture()
{
    if (m_white < 0) {
        m_white = static_cast<int>(m_model.textures.size());
        TextureData& texture = m_model.textures.emplace_back();
        texture.width = texture.height = 1;
        texture.pixels.assign(4, 255);
    }
    return m_white;
}

int MaterialReader::loadTexture(const std::string& name)
{
    if (m_request.without_textures || m_request.list_only)
        return -1;
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
