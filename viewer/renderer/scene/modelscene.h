#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/renderer/import/modeldata.h"

#include <memory>
#include <string>
#include <vector>
#include <vtkSmartPointer.h>

class vtkActor;
class vtkRenderer;
class vtkTexture;

namespace ov3d::renderer {

/// A model as VTK draws it: one actor a material and kind of primitive. Owns the model's arrays, which VTK borrows.
class ModelScene
{
public:
    /// Decodes the images and makes the actors. An image that cannot be read is noted in the model and left out.
    explicit ModelScene(ModelData model);
    ~ModelScene();
    ModelScene(const ModelScene&) = delete;
    ModelScene& operator=(const ModelScene&) = delete;

    void addTo(vtkRenderer& renderer) const;
    void removeFrom(vtkRenderer& renderer) const;

    /// Applies what the settings say about the surface. `pixel` is the width of a picture's pixel in drawn samples.
    void apply(const protocol::RenderSettings& settings, int pixel);

    [[nodiscard]] const ModelData& model() const { return m_model; }
    [[nodiscard]] bool hasTranslucentParts() const { return m_translucent; }

private:
    struct Image
    {
        vtkSmartPointer<vtkTexture> texture; ///< null when it cannot be read
        bool cutOut = false;                 ///< some pixels are wholly transparent
        bool translucent = false;            ///< some are partly so
    };

    Image makeImage(const TextureData& data);
    void addActor(MeshData& mesh);
    void setUpTransparency(vtkActor& actor, const MeshData& mesh, const MaterialData& material, const Image& image);

    ModelData m_model;
    std::vector<Image> m_images;
    std::vector<vtkSmartPointer<vtkActor>> m_actors; ///< one for each of the model's meshes
    bool m_translucent = false;
};

} // namespace ov3d::renderer
