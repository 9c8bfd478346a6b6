#include "src/plugin/boundary.h"
#include "src/plugin/numbers.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/handshake.h"

#include <QDataStream>
#include <QThread>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kPropertyParams = 101;
constexpr int kPropertyProgress = 104;
constexpr unsigned long kCommandPollMs = 10;
constexpr int kCommandPolls = 6001;

constexpr std::int32_t kResultPending = -1;
constexpr std::int32_t kResultDone = 0;
constexpr std::int32_t kResultFailed = 1;

/// The three of CameraSettings::camera_values that the parameter record carries begin at this index.
constexpr int kFirstSharedCameraValue = 1;
constexpr int kSharedCameraValues = 3;

template <typename From, typename To> void copyComponents(const From (&from)[3], To (&to)[3])
{
    for (int i = 0; i < 3; ++i)
        to[i] = static_cast<To>(from[i]);
}

/// The block that the viewer reads, or the item's own while the context points at none.
template <typename Block> Block& liveBlock(Block* live, Block& own)
{
    return live ? *live : own;
}

} // namespace

bool COv3DObject::GetSpecialProperty(int id, QDataStream& out)
{
    return withoutException("Reporting a property of a 3D object", [&] {
        if (id == kPropertyProgress) {
            out << static_cast<qint32>(loadAcquire(g_progress));
            return true;
        }
        if (loadAcquire(m_viewerReady) == 0)
            return false;
        if (id == kPropertyParams) {
            fillParams();
            out << CEffectLayerParams::toJson(m_params);
        }
        return true;
    });
}

bool COv3DObject::SetSpecialProperty(int id, QDataStream& in, bool)
{
    return withoutException("Setting a property of a 3D object", [&] {
        if (loadAcquire(m_viewerReady) == 0)
            return false;
        if (id != kPropertyParams) {
            change3DState(id);
            return false;
        }
        QString text;
        in >> text;
        CEffectLayerParams::fromJson(text, m_params);
        if (m_params.command)
            return runViewerCommand();
        applyParams();
        return true;
    });
}

/// Fills the parameter record from the blocks that the viewer reads.
void COv3DObject::fillParams()
{
    const ViewSettings& view = liveBlock(m_context.view_settings, m_viewSettings);
    m_params.reset_camera = view.reset_camera;
    m_params.view_type = view.view_type;
    m_reportedViewType = view.view_type;

    const DisplaySettings& display = liveBlock(m_context.display_settings, m_displaySettings);
    m_params.enable_sky = display.enable_sky;
    m_params.enable_axis = display.enable_axis;
    m_params.enable_ground = display.enable_ground;
    copyComponents(display.bg_color, m_params.bg_color);
    m_params.light_profile = display.light_profile;

    const MaterialSettings& material = liveBlock(m_context.material_settings, m_materialSettings);
    m_params.material_type_a = material.material_type_a;
    m_params.material_type_b = material.material_type_b;
    copyComponents(material.material_color, m_params.material_color);
    m_params.material_update = material.material_update;
    m_params.point_size = material.point_size;
    m_params.raw_mode = material.raw_mode;
    m_params.wireframe = material.wireframe;

    const LightingSettings& lighting = liveBlock(m_context.lighting_settings, m_lightingSettings);
    m_params.hdr_map = lighting.hdr_map;
    m_params.hdr_map_type = lighting.hdr_map_type;
    m_params.sun_follow = lighting.sun_follow;
    m_params.hdr_path = lighting.hdr_path;
    m_params.ibl_intensity = truncatedToInt(lighting.ibl_intensity);
    m_params.sun_intensity = truncatedToInt(lighting.sun_intensity);
    copyComponents(lighting.sun_dir, m_params.sun_dir);
    copyComponents(lighting.sun_color, m_params.sun_color);
    m_params.ibl_enabled = lighting.ibl_enabled;
    m_params.use_default_ibl = lighting.use_default_ibl;
    m_params.sun_enabled = lighting.sun_enabled;

    const CameraSettings& camera = liveBlock(m_context.camera_settings, m_cameraSettings);
    m_params.camera_id = camera.camera_id;
    std::copy_n(camera.camera_values + kFirstSharedCameraValue, kSharedCameraValues, m_params.camera_values);
    std::copy_n(camera.camera_position, 3, m_params.camera_values + kSharedCameraValues);
}

/// Settings mode: the record goes into the blocks that the viewer reads, and from there into the item's own.
void COv3DObject::applyParams()
{
    ViewSettings& view = liveBlock(m_context.view_settings, m_viewSettings);
    view.reset_camera = m_params.reset_camera;
    view.view_type = m_params.view_type;

    DisplaySettings& display = liveBlock(m_context.display_settings, m_displaySettings);
    display.enable_sky = m_params.enable_sky;
    display.enable_axis = m_params.enable_axis;
    display.enable_ground = m_params.enable_ground;
    copyComponents(m_params.bg_color, display.bg_color);
    display.light_profile = m_params.light_profile;

    MaterialSettings& material = liveBlock(m_context.material_settings, m_materialSettings);
    material.material_type_a = m_params.material_type_a;
    material.material_type_b = m_params.material_type_b;
    copyComponents(m_params.material_color, material.material_color);
    material.material_update = m_params.material_update;
    material.point_size = m_params.point_size;
    material.raw_mode = m_params.raw_mode;
    material.wireframe = m_params.wireframe;

    LightingSettings& lighting = liveBlock(m_context.lighting_settings, m_lightingSettings);
    lighting.hdr_map = m_params.hdr_map;
    lighting.hdr_map_type = m_params.hdr_map_type;
    lighting.sun_follow = m_params.sun_follow;
    // Assigned and then emptied: the path never stays, on purpose.
    lighting.hdr_path = m_params.hdr_path;
    lighting.hdr_path.clear();
    lighting.ibl_intensity = m_params.ibl_intensity;
    lighting.sun_intensity = m_params.sun_intensity;
    copyComponents(m_params.sun_dir, lighting.sun_dir);
    copyComponents(m_params.sun_color, lighting.sun_color);
    lighting.ibl_enabled = m_params.ibl_enabled;
    lighting.use_default_ibl = m_params.use_default_ibl;
    lighting.sun_enabled = m_params.sun_enabled;

    // The camera's position is reported in the record and never taken from it.
    CameraSettings& camera = liveBlock(m_context.camera_settings, m_cameraSettings);
    camera.camera_id = m_params.camera_id;
    std::copy_n(m_params.camera_values, kSharedCameraValues, camera.camera_values + kFirstSharedCameraValue);

    m_paramsApplied = true;
    m_context.op = kOperationRedraw;
    if (material.raw_mode)
        lighting.hdr_map = false;

    m_lightingSettings = lighting;
    m_materialSettings = material;
    m_displaySettings = display;
    m_viewSettings = view;
    m_cameraSettings = camera;
    update_view(&m_context);
}

/// Command mode: hands the record's code and text to the viewer and waits, at most about a minute, for its answer.
bool COv3DObject::runViewerCommand()
{
    m_context.op = m_params.command_code;
    const QByteArray encoded = m_params.command_text.toLocal8Bit();
    const std::size_t length = qstrnlen(encoded.constData(), sizeof m_context.command_text);
    std::memset(m_context.command_text, 0, sizeof m_context.command_text);
    std::memcpy(m_context.command_text, encoded.constData(), length);
    storeRelease(m_context.command_result, kResultPending);
    update_view(&m_context);

    for (int poll = 0; poll < kCommandPolls; ++poll) {
        QThread::msleep(kCommandPollMs);
        const std::int32_t result = loadAcquire(m_context.command_result);
        if (result == kResultDone)
            return true;
        if (result == kResultFailed)
            return false;
    }
    return false;
}
