#include "viewer/renderer/scene/ground.h"

#include "viewer/renderer/environment/exposure.h"
#include "viewer/renderer/scene/contactshadow.h"

#include <cmath>
#include <numbers>
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

namespace ov3d::renderer {
namespace {

/// Corners of the plate's outline.
constexpr int kCorners = 180;

/// Share of the light that the plate sends back.
constexpr float kAlbedo = 0.44f;

vtkSmartPointer<vtkPolyData> plate(const GroundShape& shape)
{
    vtkNew<vtkPoints> points;
    vtkNew<vtkFloatArray> places;
    places->SetNumberOfComponents(2);
    vtkNew<vtkCellArray> faces;
    faces->InsertNextCell(kCorners);
    for (int i = 0; i < kCorners; ++i) {
        // From +Z to +X: counter-clockwise when seen from above.
        const double angle = 2 * std::numbers::pi * i / kCorners;
        const double x = std::sin(angle);
        const double z = std::cos(angle);
        points->InsertNextPoint(shape.centre.x + x * shape.radius, shape.centre.y, shape.centre.z + z * shape.radius);
        places->InsertNextTuple2(0.5 + 0.5 * x, 0.5 + 0.5 * z);
        faces->InsertCellPoint(i);
    }
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(points);
    data->SetPolys(faces);
    data->GetPointData()->SetTCoords(places);
    return data;
}

vtkSmartPointer<vtkTexture> textureOf(const std::vector<std::uint8_t>& shadow)
{
    vtkNew<vtkImageData> image;
    image->SetDimensions(kShadowSide, kShadowSide, 1);
    image->AllocateScalars(VTK_UNSIGNED_CHAR, 3);
    auto* pixel = static_cast<std::uint8_t*>(image->GetScalarPointer());
    for (const std::uint8_t value : shadow)
        for (int channel = 0; channel < 3; ++channel)
            *pixel++ = value;
    auto texture = vtkSmartPointer<vtkTexture>::New();
    texture->SetInputData(image);
    texture->InterpolateOn();
    texture->SetWrap(vtkTexture::ClampToEdge);
    texture->SetColorModeToDirectScalars();
    return texture;
}

} // namespace

Ground::Ground(const ModelData& model)
{
    const GroundShape shape = groundOf(model);
    m_reach = std::sqrt(dot(shape.centre, shape.centre)) + shape.radius;

    vtkNew<vtkOpenGLPolyDataMapper> mapper;
    mapper->SetInputData(plate(shape));
    mapper->SetVBOShiftScaleMethod(vtkOpenGLVertexBufferObject::DISABLE_SHIFT_SCALE);
    m_actor = vtkSmartPointer<vtkActor>::New();
    m_actor->SetMapper(mapper);
    m_actor->SetTexture(textureOf(contactShadow(model, shape)));
    m_actor->GetProperty()->SetLighting(false);
    m_actor->GetProperty()->SetBackfaceCulling(true);
    m_actor->ForceOpaqueOn();
}

Ground::~Ground() = default;

void Ground::addTo(vtkRenderer& renderer) const
{
    renderer.AddActor(m_actor);
}

void Ground::removeFrom(vtkRenderer& renderer) const
{
    renderer.RemoveActor(m_actor);
}

void Ground::setLight(Light light)
{
    const auto shown = displayed(light * kAlbedo);
    m_actor->GetProperty()->SetColor(shown[0] / 255.0, shown[1] / 255.0, shown[2] / 255.0);
}

} // namespace ov3d::renderer
