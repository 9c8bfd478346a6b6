#pragma once

#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/scene/materiallook.h"

#include <vtkSmartPointer.h>

class vtkActor;
class vtkPolyData;
class vtkProperty;

/// A mesh as VTK draws it.
namespace ov3d::renderer {

/// The mesh's arrays as VTK sees them. They stay the mesh's, which must outlive what is made of this.
vtkSmartPointer<vtkPolyData> polyDataOf(MeshData& mesh);

/// An actor with a mapper of its own, which VTK's choice of shaders is kept in; the vertices go to the driver once for
/// all actors of one mesh.
vtkSmartPointer<vtkActor> makeActor(vtkPolyData& mesh);

/// Everything that is a number. Textures are left out, those of before removed.
void setUpProperty(vtkProperty& property, const MaterialLook& look, const MaterialData& material);

/// How a mesh is drawn, whatever its surface.
struct Drawing
{
    bool as_wires = false;
    float line_width = 1; ///< drawn samples
    float point_size = 1; ///< the same
};

void setUpDrawing(vtkProperty& property, const Drawing& drawing);

} // namespace ov3d::renderer
