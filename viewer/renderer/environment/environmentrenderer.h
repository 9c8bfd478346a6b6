#pragma once

#include "viewer/renderer/environment/lightchain.h"

#include <memory>
#include <vtkOpenGLRenderer.h>

namespace ov3d::renderer {

/// VTK's renderer with image-based lighting whose textures were made on the processor: VTK would filter them with
/// shaders, which takes seconds on a software driver.
class EnvironmentRenderer : public vtkOpenGLRenderer
{
public:
    static EnvironmentRenderer* New();
    vtkTypeMacro(EnvironmentRenderer, vtkOpenGLRenderer)

        /// Lights physically based surfaces from now on. Gains of 0 leave no light of the environment, at the same
        /// cost.
        void setEnvironment(const Irradiance& irradiance, float mattGain, std::shared_ptr<const LightChain> reflections,
                            float reflectionGain);

protected:
    EnvironmentRenderer();
    ~EnvironmentRenderer() override = default;
};

} // namespace ov3d::renderer
