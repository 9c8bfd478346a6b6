#include "viewer/renderer/scene/modelscene.h"

#include "viewer/renderer/scene/materialshader.h"

#include <algorithm>
#include <cstdint>
#include <vtkActor.h>
#include <vtkCellArray.h>
#include <vtkFloatArray.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkOpenGLPolyDataMapper.h>
#include <vtkOpenGLVertexBufferObject.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkProperty.h>
#include <vtkRenderer.h>
#include <vtkTexture.h>
#include <vtkTypeInt32Array.h>
#include <vtkUnsignedCharArray.h>

namespace ov3d::renderer {
namespace {

/// Pixels of the picture.
constexpr float kLineWidth = 1.5f;

/// Of everything that is not a metal, lacquer included.
constexpr double kIndexOfRefraction = 1.5;

/// VTK's highlights become points of infinite brightness at zero.
constexpr float kLeastRoughness = 0.05f;

constexpr int kGrainSide = 256;

/// What glass is seen against, as displayed, and how much of its own colour its far side has.
constexpr float kNeutralGrey = 0.5f;
constexpr float kInsideTint = 0.6f;

/// Of the near sides of glass the nearest two are told apart: each more would cost a picture of its own.
constexpr int kGlassPeels = 1;

template <typename Array, typename Value> vtkSmartPointer<Array> borrow(std::vector<Value>& values, int components)
{
    auto array = vtkSmartPointer<Array>::New();
    array->SetNumberOfComponents(components);
    array->SetArray(values.data(), static_cast<vtkIdType>(values.size()), 1 /* the vector keeps it */);
    return array;
}

vtkSmartPointer<vtkCellArray> cellsOf(MeshData& mesh, int corners)
{
    // Vertex counts stay below 2^31, so the same bits serve as signed indices.
    vtkNew<vtkTypeInt32Array> connectivity;
    connectivity->SetArray(reinterpret_cast<vtkTypeInt32*>(mesh.indices.data()),
                           static_cast<vtkIdType>(mesh.indices.size()), 1);
    auto cells = vtkSmartPointer<vtkCellArray>::New();
    cells->SetData(corners, connectivity);
    return cells;
}

vtkSmartPointer<vtkPolyData> polyDataOf(MeshData& mesh)
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    vtkNew<vtkPoints> points;
    points->SetData(borrow<vtkFloatArray>(mesh.positions, 3));
    data->SetPoints(points);
    switch (mesh.primitive) {
    case Primitive::triangles:
        data->SetPolys(cellsOf(mesh, 3));
        break;
    case Primitive::lines:
        data->SetLines(cellsOf(mesh, 2));
        break;
    case Primitive::points:
        data->SetVerts(cellsOf(mesh, 1));
        break;
    }
    if (!mesh.normals.empty())
        data->GetPointData()->SetNormals(borrow<vtkFloatArray>(mesh.normals, 3));
    if (!mesh.texcoords.empty())
        data->GetPointData()->SetTCoords(borrow<vtkFloatArray>(mesh.texcoords, 2));
    if (!mesh.colours.empty())
        data->GetPointData()->SetScalars(borrow<vtkUnsignedCharArray>(mesh.colours, 4));
    return data;
}

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

Colour linear(const Colour& displayed)
{
    return {linearFromDisplayed(displayed[0]), linearFromDisplayed(displayed[1]), linearFromDisplayed(displayed[2])};
}

void setUpProperty(vtkProperty& property, const MaterialLook& look, const MaterialData& material)
{
    const bool lit = look.shading == Shading::lit;
    const Colour colour = lit ? linear(look.colour) : look.colour;
    const Colour emissive = linear(look.emissive);
    property.SetInterpolationToPBR();
    property.SetLighting(lit);
    property.SetColor(colour[0], colour[1], colour[2]);
    property.SetAmbient(0.0);
    property.SetDiffuse(1.0);
    property.SetOpacity(look.opacity);
    property.SetMetallic(look.metallic);
    property.SetRoughness(std::max(look.roughness, kLeastRoughness));
    property.SetBaseIOR(kIndexOfRefraction);
    property.SetEmissiveFactor(emissive[0], emissive[1], emissive[2]);
    property.SetOcclusionStrength(material.occlusion_strength);
    property.SetCoatStrength(look.clear_coat);
    property.SetCoatRoughness(std::max(look.clear_coat_roughness, kLeastRoughness));
    property.SetCoatIOR(kIndexOfRefraction);
    property.RemoveAllTextures();
}

void setUpDrawing(vtkProperty& property, bool asWires, int pixel, float pointSize)
{
    asWires ? property.SetRepresentationToWireframe() : property.SetRepresentationToSurface();
    property.SetLineWidth(kLineWidth * static_cast<float>(pixel));
    property.SetPointSize(pointSize);
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

    vtkNew<vtkOpenGLPolyDataMapper> mapper;
    mapper->SetInputData(polyDataOf(mesh));
    // The model's frame has done that already, and better.
    mapper->SetVBOShiftScaleMethod(vtkOpenGLVertexBufferObject::DISABLE_SHIFT_SCALE);
    mapper->SetColorModeToDirectScalars();

    Part& part = m_parts.emplace_back();
    part.actor = vtkSmartPointer<vtkActor>::New();
    part.actor->SetMapper(mapper);
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
        base.texture->SetInterpolate(look.smooth_texels);
        base.texture->SetMipmap(look.smooth_texels);
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
    part.translucent = look.glass        ? false
                       : look.file_alpha ? material.alpha_mode == AlphaMode::blend &&
                                               (look.opacity < 1.0f || translucentTexels ||
                                                (shader.vertex_colours && part.translucentColours))
                                         : look.opacity < 1.0f;
    shader.blend = part.translucent || look.glass;
    shader.glassy = shader.blend && !translucentTexels && look.shading == Shading::lit;
    if (mesh.primitive == Primitive::points) {
        shader.round_points = true;
        shader.shaded_points = look.smooth_texels;
    }
    actor.SetForceTranslucent(shader.blend);
    actor.SetForceOpaque(!shader.blend);
    property.SetBackfaceCulling(look.glass || (part.translucent && look.file_alpha && !material.double_sided));
    setUpShader(actor, shader, material);
    part.look = look;
    dressInside(part, mesh, look);
}

/// Peeling every layer of a whole model of glass would take seconds on a software driver: the far sides are drawn first,
/// solid, then the nearest of the near sides, blended over them. Of each the nearest is seen; as all parts have one colour, hardly
/// anybody misses those in between.
void ModelScene::dressInside(Part& part, const MeshData& mesh, const MaterialLook& look)
{
    if (!look.glass || mesh.primitive != Primitive::triangles) {
        part.inside = nullptr;
        return;
    }
    const MaterialData& material = m_model.materials[mesh.material];
    MaterialLook far = look;
    far.opacity = 1.0f;
    for (float& channel : far.colour)
        channel = kNeutralGrey + (channel - kNeutralGrey) * kInsideTint;
    part.inside = vtkSmartPointer<vtkActor>::New();
    part.inside->SetMapper(part.actor->GetMapper());
    vtkProperty& property = *part.inside->GetProperty();
    setUpProperty(property, far, material);
    property.SetFrontfaceCulling(true);
    SurfaceShader shader;
    shader.shading = look.shading;
    if (material.alpha_mode == AlphaMode::mask && part.actor->GetProperty()->GetTexture("baseTex") != nullptr) {
        shader.cut_out = shader.base_texture = true;
        shader.file_opacity = false;
        property.SetTexture("baseTex", part.actor->GetProperty()->GetTexture("baseTex"));
    }
    part.inside->ForceOpaqueOn();
    setUpShader(*part.inside, shader, material);
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
    placeActors();
}

/// VTK draws in the order in which actors came.
void ModelScene::placeActors()
{
    for (const Part& part : m_parts)
        m_renderer->RemoveActor(part.actor);
    for (const Part& part : m_parts)
        if (part.inside)
            m_renderer->AddActor(part.inside);
    for (const Part& part : m_parts)
        m_renderer->AddActor(part.actor);
}

void ModelScene::removeFrom(vtkRenderer& renderer)
{
    m_renderer = nullptr;
    for (const Part& part : m_parts) {
        renderer.RemoveActor(part.actor);
        if (part.inside)
            renderer.RemoveActor(part.inside);
    }
}

void ModelScene::apply(const protocol::RenderSettings& settings, int pixel)
{
    m_translucent = m_glass = false;
    bool changed = false;
    const float pointSize = pointDiameter(settings.point_size, m_points) * static_cast<float>(pixel);
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        Part& part = m_parts[i];
        const MeshData& mesh = m_model.meshes[i];
        const MaterialLook look = lookOf(m_model.materials[mesh.material], mesh.primitive, settings);
        if (part.look != look) {
            if (m_renderer && part.inside)
                m_renderer->RemoveActor(part.inside);
            changed = changed || part.inside || look.glass;
            dress(part, mesh, look);
        }
        m_translucent = m_translucent || part.translucent;
        m_glass = m_glass || look.glass;
        const bool asWires = mesh.primitive == Primitive::triangles && settings.wireframe;
        for (vtkActor* actor : {part.actor.Get(), part.inside.Get()})
            if (actor)
                setUpDrawing(*actor->GetProperty(), asWires, pixel, pointSize);
    }
    if (m_renderer && changed)
        placeActors();
    if (!m_renderer)
        return;
    m_renderer->SetUseDepthPeeling(m_translucent || m_glass);
    if (!m_translucent)
        m_renderer->SetMaximumNumberOfPeels(kGlassPeels);
}

} // namespace ov3d::renderer
