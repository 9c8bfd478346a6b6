#include "viewer/renderer/scene/modelscene.h"

#include "viewer/renderer/scene/imagedecoding.h"

#include <algorithm>
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
#include <vtkShaderProperty.h>
#include <vtkTexture.h>
#include <vtkTypeInt32Array.h>
#include <vtkUnsignedCharArray.h>

namespace ov3d::renderer {
namespace {

/// How a surface answers the light: a soft ambient part, and a hint of shine.
constexpr double kAmbient = 0.26;
constexpr double kSpecular = 0.05;
constexpr double kSpecularPower = 24.0;

/// Pixels of the picture.
constexpr float kLineWidth = 1.5f;

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

void setUpProperty(vtkProperty& property, const MeshData& mesh, const MaterialData& material)
{
    property.SetColor(material.base_colour[0], material.base_colour[1], material.base_colour[2]);
    property.SetInterpolationToPhong();
    const bool lit = mesh.primitive == Primitive::triangles && !material.unlit;
    property.SetLighting(lit);
    property.SetAmbient(lit ? kAmbient : 0.0);
    property.SetDiffuse(1.0);
    property.SetSpecular(lit ? kSpecular : 0.0);
    property.SetSpecularPower(kSpecularPower);
}

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

/// Draws what reaches the cutoff and nothing else.
void cutOut(vtkActor& actor, float cutoff)
{
    const std::string test = "  if (gl_FragData[0].a < " + std::to_string(cutoff) + ") { discard; }\n";
    actor.GetShaderProperty()->AddFragmentShaderReplacement(
        "//VTK::TCoord::Impl", true, "//VTK::TCoord::Impl\n" + test + "  gl_FragData[0].a = 1.0;\n", false);
    actor.ForceOpaqueOn();
}

} // namespace

ModelScene::ModelScene(ModelData model)
    : m_model(std::move(model))
{
    for (TextureData& texture : m_model.textures) {
        m_images.push_back(makeImage(texture));
        texture.encoded = {};
        texture.pixels = {};
    }
    for (MeshData& mesh : m_model.meshes)
        addActor(mesh);
}

ModelScene::~ModelScene() = default;

ModelScene::Image ModelScene::makeImage(const TextureData& data)
{
    DecodedImage decoded;
    std::string reason;
    if (!decodeImage(data, decoded, reason)) {
        m_model.notes.push_back("texture " + data.name + " " + reason);
        return {};
    }
    Image image;
    for (std::size_t i = 3; i < decoded.rgba.size(); i += 4) {
        image.cutOut = image.cutOut || decoded.rgba[i] == 0;
        image.translucent = image.translucent || (decoded.rgba[i] != 0 && decoded.rgba[i] != 255);
    }

    vtkNew<vtkImageData> pixels;
    pixels->SetDimensions(decoded.width, decoded.height, 1);
    pixels->AllocateScalars(VTK_UNSIGNED_CHAR, 4);
    auto* target = static_cast<std::uint8_t*>(pixels->GetScalarPointer());
    const std::size_t rowBytes = static_cast<std::size_t>(decoded.width) * 4;
    for (int y = 0; y < decoded.height; ++y)
        std::copy_n(decoded.rgba.data() + static_cast<std::size_t>(decoded.height - 1 - y) * rowBytes, rowBytes,
                    target + static_cast<std::size_t>(y) * rowBytes);

    image.texture = vtkSmartPointer<vtkTexture>::New();
    image.texture->SetInputData(pixels);
    image.texture->InterpolateOn();
    image.texture->MipmapOn();
    image.texture->SetColorModeToDirectScalars();
    return image;
}

void ModelScene::addActor(MeshData& mesh)
{
    const MaterialData& material = m_model.materials[mesh.material];
    Image image;
    if (material.base_texture >= 0 && !mesh.texcoords.empty())
        image = m_images[static_cast<std::size_t>(material.base_texture)];
    if (material.alpha_mode == AlphaMode::opaque)
        makeColoursOpaque(mesh);

    vtkNew<vtkOpenGLPolyDataMapper> mapper;
    mapper->SetInputData(polyDataOf(mesh));
    // The model's frame has done that already, and better.
    mapper->SetVBOShiftScaleMethod(vtkOpenGLVertexBufferObject::DISABLE_SHIFT_SCALE);
    mapper->SetScalarVisibility(!mesh.colours.empty());
    mapper->SetColorModeToDirectScalars();

    auto actor = vtkSmartPointer<vtkActor>::New();
    actor->SetMapper(mapper);
    setUpProperty(*actor->GetProperty(), mesh, material);
    if (image.texture) {
        image.texture->SetWrap(wrapOf(material.wrap));
        actor->SetTexture(image.texture);
    }
    setUpTransparency(*actor, mesh, material, image);
    m_actors.push_back(actor);
}

void ModelScene::setUpTransparency(vtkActor& actor, const MeshData& mesh, const MaterialData& material,
                                   const Image& image)
{
    const bool transparentTexture = image.cutOut || image.translucent;
    if (material.alpha_mode == AlphaMode::mask) {
        actor.GetProperty()->SetOpacity(material.base_colour[3]);
        cutOut(actor, material.alpha_cutoff);
        return;
    }
    const bool translucent = material.alpha_mode == AlphaMode::blend &&
                             (material.base_colour[3] < 1.0f || transparentTexture || hasTranslucentColours(mesh));
    if (!translucent) {
        // Alpha of an opaque material's texture means nothing: keep every fragment, and at full strength.
        if (transparentTexture)
            cutOut(actor, -1.0f);
        actor.ForceOpaqueOn();
        return;
    }
    actor.GetProperty()->SetOpacity(material.base_colour[3]);
    actor.ForceTranslucentOn();
    m_translucent = true;
}

void ModelScene::addTo(vtkRenderer& renderer) const
{
    for (const auto& actor : m_actors)
        renderer.AddActor(actor);
}

void ModelScene::removeFrom(vtkRenderer& renderer) const
{
    for (const auto& actor : m_actors)
        renderer.RemoveActor(actor);
}

void ModelScene::apply(const protocol::RenderSettings& settings, int pixel)
{
    for (std::size_t i = 0; i < m_actors.size(); ++i) {
        vtkProperty& property = *m_actors[i]->GetProperty();
        const bool solid = m_model.meshes[i].primitive == Primitive::triangles;
        if (solid && settings.wireframe)
            property.SetRepresentationToWireframe();
        else
            property.SetRepresentationToSurface();
        property.SetLineWidth(kLineWidth * static_cast<float>(pixel));
        property.SetPointSize(static_cast<float>(std::clamp(settings.point_size, 1, 64) * pixel));
    }
}

} // namespace ov3d::renderer
