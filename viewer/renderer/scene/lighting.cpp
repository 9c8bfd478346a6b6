#include "viewer/renderer/scene/lighting.h"

#include <numbers>
#include <vtkLight.h>
#include <vtkNew.h>
#include <vtkRenderer.h>

namespace ov3d::renderer {
namespace {

void add(vtkRenderer& renderer, const Lamp& lamp)
{
    vtkNew<vtkLight> light;
    light->SetLightTypeToSceneLight();
    light->SetPositional(false);
    light->SetPosition(-lamp.travels.x, -lamp.travels.y, -lamp.travels.z);
    light->SetFocalPoint(0, 0, 0);
    light->SetColor(lamp.light.red, lamp.light.green, lamp.light.blue);
    // VTK divides by pi what a matt surface sends back.
    light->SetIntensity(std::numbers::pi);
    renderer.AddLight(light);
}

} // namespace

void light(vtkRenderer& renderer, const LightPlan& plan)
{
    renderer.RemoveAllLights();
    for (const Lamp& lamp : plan.lamps)
        add(renderer, lamp);
    if (plan.lamps.empty())
        add(renderer, {{0, -1, 0}, {}});
}

} // namespace ov3d::renderer
