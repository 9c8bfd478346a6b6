#include "viewer/renderer/picture/picturerenderer.h"

#include "viewer/camera/scenestatus.h"
#include "viewer/renderer/environment/environmentrenderer.h"
#include "viewer/renderer/graphics/offscreenwindow.h"
#include "viewer/renderer/picture/silhouette.h"
#include "viewer/renderer/picture/viewpoint.h"
#include "viewer/renderer/picture/warmup.h"
#include "viewer/renderer/scene/axis.h"
#include "viewer/renderer/scene/ground.h"
#include "viewer/renderer/scene/lighting.h"
#include "viewer/renderer/scene/modelscene.h"
#include "viewer/renderer/scene/sky.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vtkCamera.h>
#include <vtkCullerCollection.h>
#include <vtkFrustumCoverageCuller.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkTexture.h>
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

bool isDefaultBackground(const protocol::RenderSettings& settings)
{
    const protocol::RenderSettings defaults;
    return std::equal(std::begin(settings.bg_color), std::end(settings.bg_color), std::begin(defaults.bg_color));
}

std::array<double, 3> opaqueBackground(const protocol::RenderSettings& settings)
{
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

bool isKeyed(const protocol::RenderSettings& settings)
{
    return !settings.enable_sky && isDefaultBackground(settings);
}

/// Whether a cell drawn for one request serves another: everything but the tile and the serial is the same.
bool givesTheSame(const protocol::RenderRequest& a, const Wanted& wantedByA, const protocol::RenderRequest& b,
                  const Wanted& wantedByB)
{
    return wantedByA.whole_width == wantedByB.whole_width && wantedByA.whole_height == wantedByB.whole_height &&
           a.quality == b.quality && std::memcmp(&a.status, &b.status, sizeof a.status) == 0 &&
           a.settings == b.settings;
}

/// Copies what a part of the picture has of a cell. @param from rows of the cell's drawn region, `to` of the part;
/// padded.
void copyPart(const std::vector<std::uint8_t>& from, const Cell& cell, const Region& part, std::uint8_t* to)
{
    const Region common = intersection(cell.own, part);
    const auto stride = static_cast<std::size_t>(protocol::rowBytes(part.width));
    const auto used = static_cast<std::size_t>(part.width) * 3;
    for (int y = common.top; y < common.top + common.height; ++y) {
        std::uint8_t* row = to + static_cast<std::size_t>(y - part.top) * stride;
        std::memset(row + used, 0, stride - used);
        std::memcpy(row + static_cast<std::size_t>(common.left - part.left) * 3,
                    from.data() + static_cast<std::size_t>(y - cell.drawn.top) * protocol::rowBytes(cell.drawn.width) +
                        static_cast<std::size_t>(common.left - cell.drawn.left) * 3,
                    static_cast<std::size_t>(common.width) * 3);
    }
}

/// What falls on a plate that faces upwards.
Light lightFromAbove(const LightPlan& plan, const Irradiance& irradiance)
{
    Light sum = valueOf(irradiance, {0, 1, 0}) * plan.matt_gain;
    for (const Lamp& lamp : plan.lamps)
        sum = sum + lamp.light * static_cast<float>(std::max(-lamp.travels.y, 0.0));
    return sum;
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
    m_environments.prepare();
    if (!m_context.create())
        return false;
    m_window = vtkSmartPointer<OffscreenWindow>::New();
    m_window->setContext(&m_context);
    m_renderer = vtkSmartPointer<EnvironmentRenderer>::New();
    m_renderer->SetAutomaticLightCreation(0);
    m_renderer->SetTwoSidedLighting(1);
    m_renderer->SetOcclusionRatio(0.0);
    // What is hidden behind something drawn before costs no shading.
    vtkNew<vtkFrustumCoverageCuller> nearestFirst;
    nearestFirst->SetSortingStyleToFrontToBack();
    m_renderer->GetCullers()->RemoveAllItems();
    m_renderer->AddCuller(nearestFirst);
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

void PictureRenderer::warmUp(Surface surface)
{
    setModel(warmUpModel(surface));
    protocol::RenderRequest request;
    request.width = request.height = 16;
    request.quality = protocol::Quality::draft;
    request.settings = warmUpSettings(surface);
    std::vector<std::uint8_t> picture(protocol::rowBytes(request.width) * 16);
    std::string reason;
    draw(request, picture.data(), picture.size(), reason);
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
    if (m_isGroundShown)
        m_ground->removeFrom(*m_renderer);
    m_isGroundShown = false;
    m_ground.reset();
    m_scene->removeFrom(*m_renderer);
    m_scene.reset();
    m_cell.rgb.clear();
}

const ModelData& PictureRenderer::model() const
{
    return m_scene->model();
}

void PictureRenderer::setUpGround(const LightPlan& plan, bool isWanted)
{
    if (isWanted && !m_ground)
        m_ground = std::make_unique<Ground>(m_scene->model());
    if (isWanted)
        m_ground->setLight(lightFromAbove(plan, m_environments.chainOf(plan.matt)->irradiance));
    if (isWanted == m_isGroundShown)
        return;
    isWanted ? m_ground->addTo(*m_renderer) : m_ground->removeFrom(*m_renderer);
    m_isGroundShown = isWanted;
}

void PictureRenderer::setUpSky(const LightPlan& plan, const protocol::RenderRequest& request, const Wanted& wanted,
                               const Region& region)
{
    m_renderer->SetTexturedBackground(request.settings.enable_sky);
    if (!request.settings.enable_sky) {
        m_renderer->SetBackgroundTexture(nullptr);
        return;
    }
    const SkyImage sky = drawSky(m_environments.radianceOf(plan.reflections), plan.sky_gain,
                                 camera::poseFromStatus(request.status), wanted, region);
    vtkNew<vtkImageData> image;
    image->SetDimensions(sky.width, sky.height, 1);
    image->AllocateScalars(VTK_UNSIGNED_CHAR, 3);
    std::copy(sky.rgb.begin(), sky.rgb.end(), static_cast<std::uint8_t*>(image->GetScalarPointer()));
    vtkNew<vtkTexture> texture;
    texture->SetInputData(image);
    texture->InterpolateOn();
    texture->SetWrap(vtkTexture::ClampToEdge);
    texture->SetColorModeToDirectScalars();
    m_renderer->SetBackgroundTexture(texture);
}

/// What all cells of a picture share.
void PictureRenderer::prepare(const protocol::RenderRequest& request)
{
    m_note.clear();
    const bool hasFile = m_environments.useFile(request.settings.hdr_path, m_note);
    m_plan = planOf(request.settings, camera::poseFromStatus(request.status), hasFile);
    m_renderer->setEnvironment(m_environments.chainOf(m_plan.matt)->irradiance, m_plan.matt_gain,
                               m_environments.chainOf(m_plan.reflections), m_plan.environment_gain);
    light(*m_renderer, m_plan);
    setUpGround(m_plan, request.settings.enable_ground);
    m_renderer->SetMaximumNumberOfPeels(request.quality == protocol::Quality::final ? kFinalPeels : kDraftPeels);

    // Alpha tells the model from the background, whose colour is blended with translucent parts all the same.
    const auto background = isKeyed(request.settings) ? kNeutralGrey : opaqueBackground(request.settings);
    m_renderer->SetBackground(background[0], background[1], background[2]);
    m_renderer->SetBackgroundAlpha(0.0);
}

bool PictureRenderer::render(const protocol::RenderRequest& request, const Wanted& wanted, const Region& region,
                             int factor)
{
    const camera::Pose pose = camera::poseFromStatus(request.status);
    const int width = region.width * factor;
    const int height = region.height * factor;
    m_window->SetSize(width, height);
    const double reach = m_isGroundShown ? std::max(kModelRadius, m_ground->reach()) : kModelRadius;
    const Viewpoint whole = viewpointOf(pose, m_scene->model().frame, wanted.whole_width, wanted.whole_height, reach);
    aim(*m_renderer->GetActiveCamera(), viewpointOfPart(whole, wanted.whole_width, wanted.whole_height, region));
    m_scene->apply(request.settings, factor);
    setUpSky(m_plan, request, wanted, region);
    m_window->Render();
    if (m_window->GetRGBACharPixelData(0, 0, width - 1, height - 1, 0, m_samples) != VTK_OK)
        return false;
    if (request.settings.enable_axis) {
        const Region place = axisPlace(wanted.whole_width, wanted.whole_height);
        if (intersection(place, region).width > 0)
            layAxisOver(drawAxis(pose, place.width * factor), place, region, factor, m_samples->GetPointer(0));
    }
    return true;
}

bool PictureRenderer::drawRegion(const protocol::RenderRequest& request, const Wanted& wanted, const Region& region,
                                 std::uint8_t* rgb)
{
    int factor = request.quality == protocol::Quality::final ? kFinalFactor : 1;
    while (factor > 1 && std::max(region.width, region.height) > m_maxSide / factor)
        --factor;
    if (!render(request, wanted, region, factor))
        return false;
    const Samples samples{m_samples->GetPointer(0), region.width, region.height, factor};
    const std::uint64_t rowBytes = protocol::rowBytes(region.width);
    if (isKeyed(request.settings))
        writeKeyedPicture(samples, rgb, rowBytes);
    else
        writeOpaquePicture(samples, rgb, rowBytes);
    return true;
}

bool PictureRenderer::drawCell(const protocol::RenderRequest& request, const Wanted& wanted, const Cell& cell)
{
    Wanted last;
    if (!m_cell.rgb.empty() && m_cell.own == cell.own && wantedBy(m_cell.request, last) &&
        givesTheSame(m_cell.request, last, request, wanted))
        return true;
    m_cell.request = request;
    m_cell.own = cell.own;
    m_cell.rgb.resize(protocol::rowBytes(cell.drawn.width) * static_cast<std::size_t>(cell.drawn.height));
    if (drawRegion(request, wanted, cell.drawn, m_cell.rgb.data()))
        return true;
    m_cell.rgb.clear();
    return false;
}

bool PictureRenderer::draw(const protocol::RenderRequest& request, std::uint8_t* rgb, std::uint64_t capacity,
                           std::string& reason)
{
    if (!m_scene) {
        reason = "no model is loaded";
        return false;
    }
    Wanted wanted;
    const std::uint64_t rowBytes = request.width > 0 ? protocol::rowBytes(request.width) : 0;
    if (!wantedBy(request, wanted) || capacity / rowBytes < static_cast<std::uint64_t>(request.height) ||
        kCellSide + 2 * kCellMargin > m_maxSide) {
        reason = "the picture's size cannot be drawn";
        return false;
    }
    prepare(request);

    const std::vector<Cell> cells = cellsOf(wanted);
    bool isDrawn = true;
    if (cells.size() == 1 && cells.front().drawn == wanted.part)
        isDrawn = drawRegion(request, wanted, wanted.part, rgb);
    else
        for (const Cell& cell : cells) {
            isDrawn = isDrawn && drawCell(request, wanted, cell);
            if (isDrawn)
                copyPart(m_cell.rgb, cell, wanted.part, rgb);
        }
    if (!isDrawn)
        reason = "the graphics driver gave no picture";
    return isDrawn;
}

} // namespace ov3d::renderer
