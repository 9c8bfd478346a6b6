#include "viewer/renderer/picture/picturerenderer.h"

#include "viewer/camera/scenestatus.h"
#include "viewer/renderer/graphics/offscreenwindow.h"
#include "viewer/renderer/picture/silhouette.h"
#include "viewer/renderer/picture/viewpoint.h"
#include "viewer/renderer/picture/warmup.h"
#include "viewer/renderer/scene/lighting.h"
#include "viewer/renderer/scene/modelscene.h"

#include <algorithm>
#include <array>
#include <vtkCamera.h>
#include <vtkRenderer.h>
#include <vtkUnsignedCharArray.h>
#include <vtk_glew.h>

namespace ov3d::renderer {
namespace {

/// Samples along one side of a pixel of a picture at rest.
constexpr int kFinalFactor = 2;

/// Layers of translucent parts that are told apart.
constexpr int kFinalPeels = 8;
constexpr int kDraftPeels = 4;

/// What translucent parts are seen against: the page behind them is unknown here.
constexpr std::array<double, 3> kNeutralGrey{0.5, 0.5, 0.5};

/// With the sky on, hosts take the picture as it is: no key colour may show.
constexpr std::array<double, 3> kPlainSky{0.80, 0.86, 0.92};

bool isDefaultBackground(const protocol::RenderSettings& settings)
{
    const protocol::RenderSettings defaults;
    return std::equal(std::begin(settings.bg_color), std::end(settings.bg_color), std::begin(defaults.bg_color));
}

std::array<double, 3> opaqueBackground(const protocol::RenderSettings& settings)
{
    if (settings.enable_sky && isDefaultBackground(settings))
        return kPlainSky;
    std::array<double, 3> colour{};
    for (std::size_t i = 0; i < 3; ++i)
        // The first comparison is also false for what is no number.
        colour[i] = settings.bg_color[i] > 0.0f ? std::min(double{settings.bg_color[i]}, 1.0) : 0.0;
    return colour;
}

void aim(vtkCamera& camera, const Viewpoint& view)
{
    camera.SetPosition(view.position.x, view.position.y, view.position.z);
    const Vec3 ahead = view.position + view.forward;
    camera.SetFocalPoint(ahead.x, ahead.y, ahead.z);
    camera.SetViewUp(view.up.x, view.up.y, view.up.z);
    camera.SetParallelProjection(view.parallel);
    camera.SetViewAngle(view.view_angle);
    camera.SetParallelScale(view.parallel_scale);
    camera.SetWindowCenter(view.window_centre_x, view.window_centre_y);
    camera.SetClippingRange(view.nearest, view.farthest);
}

} // namespace

PictureRenderer::PictureRenderer() = default;

PictureRenderer::~PictureRenderer()
{
    clearModel();
    if (m_window)
        m_window->Finalize();
}

bool PictureRenderer::start()
{
    if (!m_context.create())
        return false;
    m_window = vtkSmartPointer<OffscreenWindow>::New();
    m_window->setContext(&m_context);
    m_renderer = vtkSmartPointer<vtkRenderer>::New();
    m_renderer->SetAutomaticLightCreation(0);
    m_renderer->SetTwoSidedLighting(1);
    m_renderer->SetOcclusionRatio(0.0);
    m_window->AddRenderer(m_renderer);
    m_samples = vtkSmartPointer<vtkUnsignedCharArray>::New();
    m_window->SetSize(16, 16);
    m_window->Render();

    GLint textureSide = 0;
    std::array<GLint, 2> viewport{};
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &textureSide);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport.data());
    m_maxSide = std::min({textureSide, viewport[0], viewport[1]});
    return m_maxSide > 0;
}

void PictureRenderer::warmUp(bool textured)
{
    setModel(warmUpModel(textured));
    protocol::RenderRequest request;
    request.width = request.height = 16;
    render(request, 1, true);
    clearModel();
}

void PictureRenderer::setModel(ModelData model)
{
    clearModel();
    m_scene = std::make_unique<ModelScene>(std::move(model));
    m_scene->addTo(*m_renderer);
}

void PictureRenderer::clearModel()
{
    if (!m_scene)
        return;
    m_scene->removeFrom(*m_renderer);
    m_scene.reset();
}

const ModelData& PictureRenderer::model() const
{
    return m_scene->model();
}

bool PictureRenderer::render(const protocol::RenderRequest& request, int factor, bool keyed)
{
    const camera::Pose pose = camera::poseFromStatus(request.status);
    const int width = request.width * factor;
    const int height = request.height * factor;
    m_window->SetSize(width, height);
    aim(*m_renderer->GetActiveCamera(), viewpointOf(pose, m_scene->model().frame, request.width, request.height));
    light(*m_renderer, pose, request.settings.sun_follow);
    m_scene->apply(request.settings, factor);
    m_renderer->SetUseDepthPeeling(m_scene->hasTranslucentParts());
    m_renderer->SetMaximumNumberOfPeels(request.quality == protocol::Quality::final ? kFinalPeels : kDraftPeels);

    // Alpha tells the model from the background, whose colour is blended with translucent parts all the same.
    const std::array<double, 3> background = keyed ? kNeutralGrey : opaqueBackground(request.settings);
    m_renderer->SetBackground(background[0], background[1], background[2]);
    m_renderer->SetBackgroundAlpha(0.0);
    m_window->Render();
    return m_window->GetRGBACharPixelData(0, 0, width - 1, height - 1, 0, m_samples) == VTK_OK;
}

bool PictureRenderer::draw(const protocol::RenderRequest& request, std::uint8_t* rgb, std::uint64_t capacity,
                           std::string& reason)
{
    if (!m_scene) {
        reason = "no model is loaded";
        return false;
    }
    const std::uint64_t rowBytes = request.width > 0 ? protocol::rowBytes(request.width) : 0;
    if (request.width <= 0 || request.height <= 0 || capacity / rowBytes < static_cast<std::uint64_t>(request.height) ||
        request.width > m_maxSide || request.height > m_maxSide) {
        reason = "the picture's size cannot be drawn";
        return false;
    }
    int factor = request.quality == protocol::Quality::final ? kFinalFactor : 1;
    while (factor > 1 && std::max(request.width, request.height) > m_maxSide / factor)
        --factor;

    const bool keyed = !request.settings.enable_sky && isDefaultBackground(request.settings);
    if (!render(request, factor, keyed)) {
        reason = "the graphics driver gave no picture";
        return false;
    }
    const Samples samples{m_samples->GetPointer(0), request.width, request.height, factor};
    if (keyed)
        writeKeyedPicture(samples, rgb, rowBytes);
    else
        writeOpaquePicture(samples, rgb, rowBytes);
    return true;
}

} // namespace ov3d::renderer
