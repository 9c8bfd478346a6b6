#pragma once

#include "viewer/renderer/environment/light.h"
#include "viewer/renderer/import/modeldata.h"

#include <vtkSmartPointer.h>

class vtkActor;
class vtkRenderer;

namespace ov3d::renderer {

/// The plate as VTK draws it: opaque, unlit, seen from above only.
class Ground
{
public:
    explicit Ground(const ModelData& model);
    ~Ground();
    Ground(const Ground&) = delete;
    Ground& operator=(const Ground&) = delete;

    void addTo(vtkRenderer& renderer) const;
    void removeFrom(vtkRenderer& renderer) const;

    /// @param light what falls on the plate.
    void setLight(Light light);

    /// Around the frame's origin, in its units: the plate lies within.
    [[nodiscard]] double reach() const { return m_reach; }

private:
    vtkSmartPointer<vtkActor> m_actor;
    double m_reach = 1;
};

} // namespace ov3d::renderer
