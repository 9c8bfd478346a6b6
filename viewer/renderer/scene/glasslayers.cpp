#include "viewer/renderer/scene/glasslayers.h"

#include "viewer/renderer/scene/materialshader.h"

#include <algorithm>
#include <vtkActor.h>
#include <vtkMapper.h>
#include <vtkObjectFactory.h>
#include <vtkOpenGLRenderer.h>
#include <vtkOpenGLState.h>
#include <vtkPolyData.h>
#include <vtkProperty.h>
#include <vtkTexture.h>
#include <vtk_glew.h>

namespace ov3d::renderer {
namespace {

/// What glass is seen against, as displayed, and how much of its own colour its far side has.
constexpr float kNeutralGrey = 0.5f;
constexpr float kInsideTint = 0.6f;

vtkSmartPointer<vtkActor> dressed(vtkPolyData& mesh, const MaterialLook& look, const MaterialData& material,
                                  vtkTexture* cutOut, SurfaceShader shader)
{
    vtkSmartPointer<vtkActor> actor = makeActor(mesh);
    actor->GetMapper()->ScalarVisibilityOff();
    actor->ForceOpaqueOn();
    vtkProperty& property = *actor->GetProperty();
    setUpProperty(property, look, material);
    shader.shading = look.shading;
    if (cutOut != nullptr) {
        shader.cut_out = shader.base_texture = true;
        shader.file_opacity = false;
        property.SetTexture("baseTex", cutOut);
    }
    setUpShader(*actor, shader, material);
    return actor;
}

} // namespace

vtkStandardNewMacro(GlassLayers)

    void GlassLayers::add(vtkPolyData& mesh, const MaterialLook& look, const MaterialData& material, vtkTexture* cutOut)
{
    Part& part = m_parts.emplace_back();
    MaterialLook far = look;
    far.opacity = 1.0f;
    for (float& channel : far.colour)
        channel = kNeutralGrey + (channel - kNeutralGrey) * kInsideTint;
    part.far = dressed(mesh, far, material, cutOut, {});
    part.far->GetProperty()->FrontfaceCullingOn();

    MaterialLook depth = look;
    depth.shading = Shading::flat;
    SurfaceShader behind;
    behind.behind = true;
    part.depth = dressed(mesh, depth, material, cutOut, behind);
    part.depth->GetProperty()->BackfaceCullingOn();

    SurfaceShader glass;
    glass.blend = true;
    glass.glassy = look.shading == Shading::lit;
    part.near = dressed(mesh, look, material, cutOut, glass);
    part.near->GetProperty()->BackfaceCullingOn();

    const double* bounds = mesh.GetBounds();
    const bool isFirst = m_parts.size() == 1;
    for (int i = 0; i < 6; i += 2) {
        m_bounds[i] = isFirst ? bounds[i] : std::min(m_bounds[i], bounds[i]);
        m_bounds[i + 1] = isFirst ? bounds[i + 1] : std::max(m_bounds[i + 1], bounds[i + 1]);
    }
}

void GlassLayers::setUpDrawing(const Drawing& drawing)
{
    for (const Part& part : m_parts)
        for (vtkActor* actor : {part.far.Get(), part.depth.Get(), part.near.Get()})
            renderer::setUpDrawing(*actor->GetProperty(), drawing);
}

double* GlassLayers::GetBounds()
{
    return m_bounds;
}

int GlassLayers::RenderOpaqueGeometry(vtkViewport* viewport)
{
    int drawn = 0;
    for (const Part& part : m_parts)
        drawn += part.far->RenderOpaqueGeometry(viewport);
    return drawn;
}

int GlassLayers::RenderVolumetricGeometry(vtkViewport* viewport)
{
    vtkOpenGLState& state = *static_cast<vtkOpenGLRenderer*>(viewport)->GetState();
    state.vtkglColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    for (const Part& part : m_parts)
        part.depth->RenderOpaqueGeometry(viewport);
    state.vtkglColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);

    int drawn = 0;
    for (const Part& part : m_parts)
        drawn += part.near->RenderOpaqueGeometry(viewport);
    return drawn;
}

void GlassLayers::ReleaseGraphicsResources(vtkWindow* window)
{
    for (const Part& part : m_parts)
        for (vtkActor* actor : {part.far.Get(), part.depth.Get(), part.near.Get()})
            actor->ReleaseGraphicsResources(window);
    this->vtkProp::ReleaseGraphicsResources(window);
}

} // namespace ov3d::renderer
