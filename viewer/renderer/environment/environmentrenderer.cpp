#include "viewer/renderer/environment/environmentrenderer.h"

#include <array>
#include <utility>
#include <vtkFloatArray.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkOpenGLRenderWindow.h>
#include <vtkPBRLUTTexture.h>
#include <vtkPBRPrefilterTexture.h>
#include <vtkTexture.h>
#include <vtkTextureObject.h>
#include <vtk_glew.h>

namespace ov3d::renderer {
namespace {

/// The cube maps of a LightChain in the place of those that VTK would filter.
class ChainTexture : public vtkPBRPrefilterTexture
{
public:
    static ChainTexture* New();
    vtkTypeMacro(ChainTexture, vtkPBRPrefilterTexture)

        void show(std::shared_ptr<const LightChain> chain, float gain)
    {
        if (chain == m_chain && gain == m_gain)
            return;
        m_chain = std::move(chain);
        m_gain = gain;
        this->Modified();
    }

    void Load(vtkRenderer* renderer) override
    {
        if (!this->TextureObject || this->GetMTime() > this->LoadTime.GetMTime())
            upload(static_cast<vtkOpenGLRenderWindow*>(renderer->GetRenderWindow()));
        this->TextureObject->Activate();
    }

protected:
    ChainTexture() { this->PrefilterLevels = kChainLevels; }

private:
    void upload(vtkOpenGLRenderWindow* window)
    {
        if (!this->TextureObject) {
            this->TextureObject = vtkTextureObject::New();
            this->TextureObject->SetContext(window);
            this->TextureObject->SetFormat(GL_RGB);
            this->TextureObject->SetInternalFormat(GL_RGB16F);
            this->TextureObject->SetDataType(GL_FLOAT);
            this->TextureObject->SetWrapS(vtkTextureObject::ClampToEdge);
            this->TextureObject->SetWrapT(vtkTextureObject::ClampToEdge);
            this->TextureObject->SetWrapR(vtkTextureObject::ClampToEdge);
            this->TextureObject->SetMinificationFilter(vtkTextureObject::LinearMipmapLinear);
            this->TextureObject->SetMagnificationFilter(vtkTextureObject::Linear);
            this->TextureObject->SetMaxLevel(kChainLevels - 1);
            this->TextureObject->CreateCubeFromRaw(kChainSide, kChainSide, 3, VTK_FLOAT, nullptr);
        }
        this->RenderWindow = window;
        this->TextureObject->Activate();
        for (int level = 0; level < kChainLevels; ++level)
            uploadLevel(level);
        this->LoadTime.Modified();
    }

    void uploadLevel(int level) const
    {
        std::vector<float> scaled = m_chain->reflections[static_cast<std::size_t>(level)];
        for (float& value : scaled)
            value *= m_gain;
        const int side = kChainSide >> level;
        const auto face = static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * 3;
        for (unsigned i = 0; i < 6; ++i)
            glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + i, level, GL_RGB16F, side, side, 0, GL_RGB, GL_FLOAT,
                         scaled.data() + i * face);
    }

    std::shared_ptr<const LightChain> m_chain;
    float m_gain = 0;
};
vtkStandardNewMacro(ChainTexture)

    /// In the place of VTK's table of reflectances, which our shaders do without. A table that is bound but not looked
    /// at made the software driver read the wrong texture for the reflections.
    class NoTable : public vtkPBRLUTTexture
{
public:
    static NoTable* New();
    vtkTypeMacro(NoTable, vtkPBRLUTTexture)

        void Load(vtkRenderer* /*renderer*/) override
    {
    }
};
vtkStandardNewMacro(NoTable)

    /// What VTK multiplies each number of its spherical harmonics with before the shader has them.
    constexpr std::array<float, 9> kVtkFactors{
        0.282095f,          -0.488603f * (2.0f / 3), 0.488603f * (2.0f / 3), -0.488603f * (2.0f / 3), 1.092548f * 0.25f,
        -1.092548f * 0.25f, 0.315392f * 0.25f,       -1.092548f * 0.25f,     0.546274f * 0.25f};

} // namespace

vtkStandardNewMacro(EnvironmentRenderer)

    EnvironmentRenderer::EnvironmentRenderer()
{
    this->EnvMapPrefiltered = ChainTexture::New();
    this->EnvMapLookupTable = NoTable::New();

    // VTK asks for a texture with an image, though nothing reads it any more.
    vtkNew<vtkImageData> image;
    image->SetDimensions(1, 1, 1);
    image->AllocateScalars(VTK_FLOAT, 3);
    vtkNew<vtkTexture> texture;
    texture->SetInputData(image);
    this->SetEnvironmentTexture(texture);
    this->SetUseSphericalHarmonics(true);
}

void EnvironmentRenderer::setEnvironment(const Irradiance& irradiance, float mattGain,
                                         std::shared_ptr<const LightChain> reflections, float reflectionGain)
{
    auto numbers = vtkSmartPointer<vtkFloatArray>::New();
    numbers->SetNumberOfComponents(static_cast<int>(irradiance.size()));
    numbers->SetNumberOfTuples(3);
    for (std::size_t i = 0; i < irradiance.size(); ++i) {
        const Light light = irradiance[i] * (mattGain / kVtkFactors[i]);
        numbers->SetTypedComponent(0, static_cast<int>(i), light.red);
        numbers->SetTypedComponent(1, static_cast<int>(i), light.green);
        numbers->SetTypedComponent(2, static_cast<int>(i), light.blue);
    }
    // Newer than the image: VTK would work its own numbers out of that otherwise.
    numbers->Modified();
    this->SphericalHarmonics = numbers;
    static_cast<ChainTexture*>(this->EnvMapPrefiltered)->show(std::move(reflections), reflectionGain);
    this->SetUseImageBasedLighting(true);
}

} // namespace ov3d::renderer
