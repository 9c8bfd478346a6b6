#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/scene/materiallook.h"
#include "viewer/renderer/scene/materialtextures.h"

#include <optional>
#include <vector>
#include <vtkSmartPointer.h>

class vtkActor;
class vtkPolyData;
class vtkRenderer;
class vtkTexture;

namespace ov3d::renderer {

class GlassLayers;

/// A model as VTK draws it: one actor a material and kind of primitive. Owns the model's arrays, which VTK borrows.
class ModelScene
{
public:
    /// Decodes the images and makes the actors. An image that cannot be read is noted in the model and left out.
    explicit ModelScene(ModelData model);
    ~ModelScene();
    ModelScene(const ModelScene&) = delete;
    ModelScene& operator=(const ModelScene&) = delete;

    /// The renderer outlives its place here.
    void addTo(vtkRenderer& renderer);
    void removeFrom(vtkRenderer& renderer);

    /// Applies what the settings say about the surface, and has the renderer peel depths where that makes something
    /// translucent. `pixel` is the width of a picture's pixel in drawn samples.
    void apply(const protocol::RenderSettings& settings, int pixel);

    [[nodiscard]] const ModelData& model() const { return m_model; }

private:
    /// What draws one of the model's meshes.
    struct Part
    {
        vtkSmartPointer<vtkPolyData> mesh;
        vtkSmartPointer<vtkActor> actor;
        std::optional<MaterialLook> look; ///< what the actor is set up for
        bool translucentColours = false;  ///< some vertex is translucent
        bool translucent = false;         ///< as it is set up
    };

    void addPart(MeshData& mesh);
    void dress(Part& part, const MeshData& mesh, const MaterialLook& look);
    /// Shows all surfaces as glass of that look, or none.
    void showGlass(const std::optional<MaterialLook>& look);
    vtkTexture* grain();

    ModelData m_model;
    vtkRenderer* m_renderer = nullptr;
    std::vector<SurfaceTextures> m_textures; ///< one for each of the model's materials
    std::vector<Part> m_parts;               ///< one for each of the model's meshes
    vtkSmartPointer<vtkTexture> m_grain;     ///< the stone's, made when it is first wanted
    std::size_t m_points = 0;
    vtkSmartPointer<GlassLayers> m_glass;
    std::optional<MaterialLook> m_glassLook;
};

} // namespace ov3d::renderer
