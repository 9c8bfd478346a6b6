#pragma once

#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/scene/imagedecoding.h"

#include <map>
#include <string>
#include <tuple>
#include <vector>
#include <vtkSmartPointer.h>

class vtkTexture;

namespace ov3d::renderer {

/// A texture with what its alpha says.
struct BaseImage
{
    vtkSmartPointer<vtkTexture> texture; ///< null when it cannot be read
    bool cutOut = false;                 ///< some pixels are wholly transparent
    bool translucent = false;            ///< some are partly so
};

/// The textures of one material, ready for VTK. Null where there is none.
struct SurfaceTextures
{
    BaseImage base;
    vtkSmartPointer<vtkTexture> roughness; ///< green roughness, blue metallic
    vtkSmartPointer<vtkTexture> normal;    ///< directions
    vtkSmartPointer<vtkTexture> occlusion; ///< red
    vtkSmartPointer<vtkTexture> emissive;
};

/// Makes textures of a model's images, each image and use once. All hold the file's values: what is a colour is made a
/// light intensity where it is read.
class MaterialTextures
{
public:
    /// @param model receives a note for each image that cannot be read. Outlives this.
    explicit MaterialTextures(ModelData& model);

    /// Throws std::bad_alloc.
    SurfaceTextures of(const MaterialData& material);

    /// Forgets the decoded images; what has been made stays. The model's own bytes go too.
    void releaseImages();

private:
    const DecodedImage* image(int texture);
    BaseImage baseImage(const MaterialData& material);
    vtkSmartPointer<vtkTexture> roughnessTexture(const MaterialData& material);
    vtkSmartPointer<vtkTexture> normalTexture(const MaterialData& material);
    vtkSmartPointer<vtkTexture> plainTexture(const TextureMap& map);
    BaseImage specularGlossiness(const MaterialData& material, vtkSmartPointer<vtkTexture>& roughness);

    /// Image, wrap, whether it is interpolated, and what was made of it.
    using Key = std::tuple<int, Wrap, bool, int, int>;

    ModelData& m_model;
    std::map<int, DecodedImage> m_images; ///< empty for one that cannot be read
    std::map<Key, vtkSmartPointer<vtkTexture>> m_textures;
    std::map<Key, BaseImage> m_bases;
};

} // namespace ov3d::renderer
