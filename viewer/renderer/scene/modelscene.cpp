#include "viewer/renderer/scene/modelscene.h"

#include "viewer/renderer/scene/glasslayers.h"
#include "viewer/renderer/scene/materialshader.h"

#include <algorithm>
#include <cstdint>
#include <vtkActor.h>
#include <vtkImageData.h>
#include <vtkMapper.h>
#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkProperty.h>
#include <vtkRenderer.h>
#include <vtkTexture.h>

namespace ov3d::renderer {
namespace {

/// Pixels of the picture.
constexpr float kLineWidth = 1.5f;

constexpr int kGrainSide = 256;

bool hasTranslucentColours(const MeshData& mesh)
{
    for (std::size_t i = 3; i < mesh.colours.size(); i += 4)
        if (mesh.colours[i] != 255)
            return true;
    return false;
}

void makeColoursOpaque(MeshData& mesh)
{
    for (std::size_t i = 3; i < mesh.colours.size(); i += 4)
        mesh.colours[i] = 255;
}

void setUpTexels(vtkTexture& texture, bool smooth)
{
    texture.SetInterpolate(smooth);
    texture.SetMipmap(smooth);
}

/// A speckled square that tiles, the same at every start.
vtkSmartPointer<vtkTexture> makeGrain()
{
    vtkNew<vtkImageData> pixels;
    pixels->SetDimensions(kGrainSide, kGrainSide, 1);
    pixels->AllocateScalars(VTK_UNSIGNED_CHAR, 4);
    auto* target = static_cast<std::uint8_t*>(pixels->GetScalarPointer());
    std::uint32_t state = 20011;
    std::vector<int> noise(std::size_t{kGrainSide} * kGrainSide);
    for (int& value : noise) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<int>(state >> 24);
    }
    const auto at = [&noise](int x, int y) {
        return noise[static_cast<std::size_t>((y & (kGrainSide - 1)) * kGrainSide + (x & (kGrainSide - 1)))];
    };
    for (int y = 0; y < kGrainSide; ++y)
        for (int x = 0; x < kGrainSide; ++x, target += 4) {
            int sum = 0;
            for (int dy = 0; dy < 3; ++dy)
                for (int dx = 0; dx < 3; ++dx)
                    sum += at(x + dx, y + dy);
            // Mostly even, with dark crystals and a few light ones.
            const int mean = sum / 9;
            const int shade = mean < 96 ? 70 + mean / 2 : mean > 162 ? 255 : 190 + (at(x, y) >> 3);
            target[0] = target[1] = target[2] = static_cast<std::uint8_t>(shade);
            target[3] = 255;
        }
    auto texture = vtkSmartPointer<vtkTexture>::New();
    texture->SetInputData(pixels);
    texture->InterpolateOn();
    texture->MipmapOn();
    texture->SetMaximumAnisotropicFiltering(1.0f);
    texture->RepeatOn();
    texture->SetColorModeToDirectScalars();
    return texture;
}

} // namespace

ModelScene::ModelScene(ModelData model)
    : m_model(std::move(model))
{
    MaterialTextures textures(m_model);
    for (MaterialData& material : m_model.materials) {
        m_textures.push_back(textures.of(material));
        // A translated pair of textures holds the factors already.
        if (material.roughness_channels == RoughnessChannels::specular_glossiness && m_textures.back().roughness) {
            std::fill_n(material.base_colour, 3, 1.0f);
            material.metallic = material.roughness = 1.0f;
        }
    }
    textures.releaseImages();
    for (MeshData& mesh : m_model.meshes)
        addPart(mesh);
}

ModelScene::~ModelScene() = default;

void ModelScene::addPart(MeshData& mesh)
{
    if (m_model.materials[mesh.material].alpha_mode == AlphaMode::opaque)
        makeColoursOpaque(mesh);
    if (mesh.primitive == Primitive::points)
        m_points += mesh.indices.size();

    Part& part = m_parts.emplace_back();
    part.mesh = polyDataOf(mesh);
    part.actor = makeActor(*part.mesh);
    part.translucentColours = hasTranslucentColours(mesh);
}

void ModelScene::dress(Part& part, const MeshData& mesh, const MaterialLook& look)
{
    const MaterialData& material = m_model.materials[mesh.material];
    const SurfaceTextures& textures = m_textures[mesh.material];
    vtkActor& actor = *part.actor;
    vtkProperty& property = *actor.GetProperty();
    setUpProperty(property, look, material);

    SurfaceShader shader;
    shader.shading = look.shading;
    shader.cut_out = material.alpha_mode == AlphaMode::mask;
    shader.file_opacity = look.file_alpha;
    const bool mapped = !mesh.texcoords.empty();
    const BaseImage& base = textures.base;
    if (mapped && base.texture && (look.file_texture || shader.cut_out)) {
        shader.base_texture = true;
        shader.colour_from_base = look.file_texture;
        setUpTexels(*base.texture, look.smooth_texels && material.smooth);
        property.SetTexture("baseTex", base.texture);
    }
    if (mapped && look.file_maps) {
        const auto use = [&property](vtkTexture* texture, const char* name) {
            if (texture)
                property.SetTexture(name, texture);
            return texture != nullptr;
        };
        shader.roughness_texture = use(textures.roughness, "materialTex");
        shader.normal_texture = use(textures.normal, "normalTex");
        shader.occlusion_texture = use(textures.occlusion, "occlusionTex");
        shader.emissive_texture = use(textures.emissive, "glowTex");
    }
    if (look.stone && look.shading == Shading::lit) {
        shader.grain = true;
        property.SetTexture("grainTex", grain());
    }
    shader.vertex_colours = look.file_colours && !mesh.colours.empty();
    actor.GetMapper()->SetScalarVisibility(shader.vertex_colours);
    if (shader.vertex_colours)
        property.SetOpacity(1.0); // theirs contains it

    const bool translucentTexels = shader.colour_from_base && (base.cutOut || base.translucent);
    part.translucent = look.file_alpha ? material.alpha_mode == AlphaMode::blend &&
                                             (look.opacity < 1.0f || translucentTexels ||
                                              (shader.vertex_colours && part.translucentColours))
                                       : look.opacity < 1.0f;
    shader.blend = part.translucent;
    shader.glassy = shader.blend && !translucentTexels && look.shading == Shading::lit;
    if (mesh.primitive == Primitive::points) {
        shader.round_points = true;
        shader.shaded_points = look.smooth_texels;
    }
    actor.SetForceTranslucent(shader.blend);
    actor.SetForceOpaque(!shader.blend);
    property.SetBackfaceCulling(part.translucent && look.file_alpha && !material.double_sided);
    setUpShader(actor, shader, material);
    part.look = look;
}

vtkTexture* ModelScene::grain()
{
    if (!m_grain)
        m_grain = makeGrain();
    return m_grain;
}

void ModelScene::addTo(vtkRenderer& renderer)
{
    m_renderer = &renderer;
    for (const Part& part : m_parts)
        renderer.AddActor(part.actor);
}

void ModelScene::removeFrom(vtkRenderer& renderer)
{
    showGlass({});
    m_renderer = nullptr;
    for (const Part& part : m_parts)
        renderer.RemoveActor(part.actor);
}

void ModelScene::showGlass(const std::optional<MaterialLook>& look)
{
    if (look == m_glassLook)
        return;
    m_glassLook = look;
    if (m_glass)
        m_renderer->RemoveViewProp(m_glass);
    m_glass = nullptr;
    const auto isGlass = [&](std::size_t i) { return look && m_model.meshes[i].primitive == Primitive::triangles; };
    for (std::size_t i = 0; i < m_parts.size(); ++i)
        m_parts[i].actor->SetVisibility(!isGlass(i));
    if (!look)
        return;
    m_glass = vtkSmartPointer<GlassLayers>::New();
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        const std::uint32_t material = m_model.meshes[i].material;
        if (!isGlass(i))
            continue;
        vtkTexture* cutOut = nullptr;
        if (m_model.materials[material].alpha_mode == AlphaMode::mask && !m_model.meshes[i].texcoords.empty())
            cutOut = m_textures[material].base.texture;
        if (cutOut != nullptr)
            setUpTexels(*cutOut, m_model.materials[material].smooth);
        // Its texture has been set up for glass since: another look begins anew.
        m_parts[i].look.reset();
        m_glass->add(*m_parts[i].mesh, *look, m_model.materials[material], cutOut);
    }
    m_renderer->AddViewProp(m_glass);
}

void ModelScene::apply(const protocol::RenderSettings& settings, int pixel)
{
    const auto samples = static_cast<float>(pixel);
    const float pointSize = pointDiameter(settings.point_size, m_points) * samples;
    std::optional<MaterialLook> glass;
    bool isTranslucent = false;
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        Part& part = m_parts[i];
        const MeshData& mesh = m_model.meshes[i];
        const MaterialLook look = lookOf(m_model.materials[mesh.material], mesh.primitive, settings);
        if (look.glass) {
            glass = look;
            continue;
        }
        if (part.look != look)
            dress(part, mesh, look);
        isTranslucent = isTranslucent || part.translucent;
        const bool isSurface = mesh.primitive == Primitive::triangles;
        setUpDrawing(*part.actor->GetProperty(), {isSurface && settings.wireframe, kLineWidth * samples, pointSize});
    }
    if (!m_renderer)
        return;
    showGlass(glass);
    if (m_glass)
        m_glass->setUpDrawing({settings.wireframe, kLineWidth * samples, pointSize});
    m_renderer->SetUseDepthPeeling(isTranslucent);
}

} // namespace ov3d::renderer
