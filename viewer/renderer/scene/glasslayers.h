#pragma once

#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/scene/materiallook.h"
#include "viewer/renderer/scene/meshactor.h"

#include <vector>
#include <vtkProp.h>
#include <vtkSmartPointer.h>

class vtkActor;
class vtkPolyData;
class vtkTexture;

namespace ov3d::renderer {

/// All parts of a model that is made of one glass.
///
/// Telling all its layers apart would take seconds on a software driver. Two are enough where all have one colour: the
/// nearest of the far sides, solid, with everything else that is solid; over it the nearest of the near sides, blended.
/// A picture takes about half as long again as of the same model in plastic.
class GlassLayers : public vtkProp
{
public:
    static GlassLayers* New();
    vtkTypeMacro(GlassLayers, vtkProp)

        /// @param cutOut the texture whose alpha says where the part is, or null.
        void add(vtkPolyData& mesh, const MaterialLook& look, const MaterialData& material, vtkTexture* cutOut);
    void setUpDrawing(const Drawing& drawing);

    double* GetBounds() override;
    int RenderOpaqueGeometry(vtkViewport* viewport) override;
    /// After all that VTK calls opaque or translucent.
    int RenderVolumetricGeometry(vtkViewport* viewport) override;
    void ReleaseGraphicsResources(vtkWindow* window) override;

protected:
    GlassLayers() = default;
    ~GlassLayers() override = default;

private:
    struct Part
    {
        vtkSmartPointer<vtkActor> far;
        vtkSmartPointer<vtkActor> depth; ///< of the near sides
        vtkSmartPointer<vtkActor> near;
    };

    std::vector<Part> m_parts;
    double m_bounds[6] = {1, -1, 1, -1, 1, -1};
};

} // namespace ov3d::renderer
