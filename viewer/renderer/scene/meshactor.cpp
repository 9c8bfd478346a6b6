#include "viewer/renderer/scene/meshactor.h"

#include <algorithm>
#include <vtkActor.h>
#include <vtkCellArray.h>
#include <vtkFloatArray.h>
#include <vtkNew.h>
#include <vtkOpenGLPolyDataMapper.h>
#include <vtkOpenGLVertexBufferObject.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkProperty.h>
#include <vtkTypeInt32Array.h>
#include <vtkUnsignedCharArray.h>

namespace ov3d::renderer {
namespace {

/// Of everything that is not a metal, lacquer included.
constexpr double kIndexOfRefraction = 1.5;

/// VTK's highlights become points of infinite brightness at zero.
constexpr float kLeastRoughness = 0.05f;

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

Colour linear(const Colour& displayed)
{
    return {linearFromDisplayed(displayed[0]), linearFromDisplayed(displayed[1]), linearFromDisplayed(displayed[2])};
}

} // namespace

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

vtkSmartPointer<vtkActor> makeActor(vtkPolyData& mesh)
{
    vtkNew<vtkOpenGLPolyDataMapper> mapper;
    mapper->SetInputData(&mesh);
    // The model's frame has done that already, and better.
    mapper->SetVBOShiftScaleMethod(vtkOpenGLVertexBufferObject::DISABLE_SHIFT_SCALE);
    mapper->SetColorModeToDirectScalars();
    auto actor = vtkSmartPointer<vtkActor>::New();
    actor->SetMapper(mapper);
    return actor;
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

void setUpDrawing(vtkProperty& property, const Drawing& drawing)
{
    drawing.as_wires ? property.SetRepresentationToWireframe() : property.SetRepresentationToSurface();
    property.SetLineWidth(drawing.line_width);
    property.SetPointSize(drawing.point_size);
}

} // namespace ov3d::renderer
