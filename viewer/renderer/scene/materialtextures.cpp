#include "viewer/renderer/scene/materialtextures.h"

#include "viewer/renderer/scene/materialimages.h"

#include <algorithm>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkTexture.h>

namespace ov3d::renderer {
namespace {

/// What was made of an image, as part of a key.
enum Made
{
    asItIs,
    roughnessAndMetallic,
    directions,
};

int wrapOf(Wrap wrap)
{
    switch (wrap) {
    case Wrap::clamp:
        return vtkTexture::ClampToEdge;
    case Wrap::mirror:
        return vtkTexture::MirroredRepeat;
    case Wrap::repeat:
        break;
    }
    return vtkTexture::Repeat;
}

vtkSmartPointer<vtkTexture> makeTexture(const DecodedImage& image, Wrap wrap, bool smooth)
{
    vtkNew<vtkImageData> pixels;
    pixels->SetDimensions(image.width, image.height, 1);
    pixels->AllocateScalars(VTK_UNSIGNED_CHAR, 4);
    auto* target = static_cast<std::uint8_t*>(pixels->GetScalarPointer());
    const std::size_t rowBytes = static_cast<std::size_t>(image.width) * 4;
    for (int y = 0; y < image.height; ++y)
        std::copy_n(image.rgba.data() + static_cast<std::size_t>(image.height - 1 - y) * rowBytes, rowBytes,
                    target + static_cast<std::size_t>(y) * rowBytes);

    auto texture = vtkSmartPointer<vtkTexture>::New();
    texture->SetInputData(pixels);
    texture->SetInterpolate(smooth);
    texture->SetMipmap(smooth);
    // More would cost a software driver as much as all the rest of a fragment, and pictures at rest are supersampled.
    texture->SetMaximumAnisotropicFiltering(1.0f);
    texture->SetColorModeToDirectScalars();
    texture->SetWrap(wrapOf(wrap));
    return texture;
}

} // namespace

MaterialTextures::MaterialTextures(ModelData& model)
    : m_model(model)
{
}

const DecodedImage* MaterialTextures::image(int texture)
{
    if (texture < 0)
        return nullptr;
    const auto [at, isNew] = m_images.try_emplace(texture);
    if (isNew) {
        const TextureData& data = m_model.textures[static_cast<std::size_t>(texture)];
        std::string reason;
        if (!decodeImage(data, at->second, reason)) {
            m_model.notes.push_back("texture " + data.name + " " + reason);
            at->second = {};
        }
    }
    return at->second.rgba.empty() ? nullptr : &at->second;
}

SurfaceTextures MaterialTextures::of(const MaterialData& material)
{
    SurfaceTextures textures;
    const bool translated = material.roughness_channels == RoughnessChannels::specular_glossiness &&
                            image(material.roughness_map.texture) != nullptr && image(material.base_texture) != nullptr;
    if (translated) {
        textures.base = specularGlossiness(material, textures.roughness);
    } else {
        textures.base = baseImage(material);
        textures.roughness = roughnessTexture(material);
    }
    textures.normal = normalTexture(material);
    textures.occlusion = plainTexture(material.occlusion_map);
    textures.emissive = plainTexture(material.emissive_map);
    return textures;
}

BaseImage MaterialTextures::baseImage(const MaterialData& material)
{
    const DecodedImage* base = image(material.base_texture);
    if (base == nullptr)
        return {};
    const DecodedImage* opacity = image(material.opacity_texture);
    const Key key{material.base_texture, material.wrap, material.smooth, asItIs,
                  opacity ? material.opacity_texture : -1};
    const auto [at, isNew] = m_bases.try_emplace(key);
    if (isNew) {
        DecodedImage combined;
        if (opacity != nullptr) {
            combined = *base;
            applyOpacity(combined, *opacity);
            base = &combined;
        }
        const AlphaFacts facts = alphaFacts(*base);
        at->second = {makeTexture(*base, material.wrap, material.smooth), facts.cutOut, facts.translucent};
    }
    return at->second;
}

vtkSmartPointer<vtkTexture> MaterialTextures::roughnessTexture(const MaterialData& material)
{
    const TextureMap& map = material.roughness_map;
    const DecodedImage* source = image(map.texture);
    if (source == nullptr || material.roughness_channels == RoughnessChannels::specular_glossiness)
        return nullptr;
    if (material.roughness_channels == RoughnessChannels::roughness_metallic)
        return plainTexture(map);
    auto& texture = m_textures[{map.texture, map.wrap, map.smooth, roughnessAndMetallic,
                                static_cast<int>(material.roughness_channels)}];
    if (!texture) {
        DecodedImage arranged = *source;
        arrangeRoughness(arranged, material.roughness_channels);
        texture = makeTexture(arranged, map.wrap, map.smooth);
    }
    return texture;
}

vtkSmartPointer<vtkTexture> MaterialTextures::normalTexture(const MaterialData& material)
{
    const TextureMap& map = material.normal_map;
    const DecodedImage* source = image(map.texture);
    if (source == nullptr)
        return nullptr;
    if (material.normal_kind == BumpKind::normals || looksLikeNormals(*source))
        return plainTexture(map);
    auto& texture = m_textures[{map.texture, map.wrap, map.smooth, directions, 0}];
    if (!texture)
        texture = makeTexture(normalsFromHeights(*source), map.wrap, map.smooth);
    return texture;
}

vtkSmartPointer<vtkTexture> MaterialTextures::plainTexture(const TextureMap& map)
{
    const DecodedImage* source = image(map.texture);
    if (source == nullptr)
        return nullptr;
    auto& texture = m_textures[{map.texture, map.wrap, map.smooth, asItIs, 0}];
    if (!texture)
        texture = makeTexture(*source, map.wrap, map.smooth);
    return texture;
}

BaseImage MaterialTextures::specularGlossiness(const MaterialData& material, vtkSmartPointer<vtkTexture>& roughness)
{
    DecodedImage diffuse = *image(material.base_texture);
    DecodedImage surface = *image(material.roughness_map.texture);
    translateSpecularGlossiness(material, diffuse, surface);
    roughness = makeTexture(surface, material.roughness_map.wrap, material.roughness_map.smooth);
    const AlphaFacts facts = alphaFacts(diffuse);
    return {makeTexture(diffuse, material.wrap, material.smooth), facts.cutOut, facts.translucent};
}

void MaterialTextures::releaseImages()
{
    m_images.clear();
    for (TextureData& texture : m_model.textures) {
        texture.encoded = {};
        texture.pixels = {};
    }
}

} // namespace ov3d::renderer
