#include "viewer/renderer/scene/lighting.h"

#include <vtkLight.h>
#include <vtkNew.h>
#include <vtkRenderer.h>

namespace ov3d::renderer {
namespace {

using camera::Vec3;

constexpr double kSunIntensity = 0.62;
constexpr double kFillIntensity = 0.22;
constexpr double kCameraIntensity = 0.16;

/// In camera axes (right, up, backward): from low at the right.
constexpr Vec3 kFillDirection{-0.70, 0.25, -0.67};

Vec3 toWorld(Vec3 inCamera, const camera::Pose& pose)
{
    return pose.right * inCamera.x + pose.up * inCamera.y + pose.backward * inCamera.z;
}

void add(vtkRenderer& renderer, Vec3 travels, double intensity)
{
    vtkNew<vtkLight> light;
    light->SetLightTypeToSceneLight();
    light->SetPositional(false);
    light->SetPosition(-travels.x, -travels.y, -travels.z);
    light->SetFocalPoint(0, 0, 0);
    light->SetIntensity(intensity);
    renderer.AddLight(light);
}

} // namespace

void light(vtkRenderer& renderer, const camera::Pose& pose, bool sunFollowsCamera)
{
    renderer.RemoveAllLights();
    add(renderer, sunFollowsCamera ? toWorld(pose.sun_direction, pose) : pose.sun_direction, kSunIntensity);
    add(renderer, toWorld(kFillDirection, pose), kFillIntensity);
    add(renderer, -pose.backward, kCameraIntensity);
}

} // namespace ov3d::renderer
