#include "viewer/session/contextreader.h"

#include "src/persist/viewsettings.h"
#include "src/render/handshake.h"

#include <algorithm>
#include <cstring>

namespace ov3d::session {

camera::Request readCameraRequest(const ViewContext& context, double seconds)
{
    camera::Request request;
    request.op = context.op;
    request.width = loadAcquire(context.width);
    request.height = loadAcquire(context.height);
    request.mouse_type = context.mouse_type;
    request.mouse_x = context.mouse_x;
    request.mouse_y = context.mouse_y;
    request.mouse_modifiers = context.mouse_modifiers;
    request.mouse_button = context.mouse_button;
    request.wheel_step = static_cast<double>(context.wheel_dy);
    if (context.view_settings)
        request.view = *context.view_settings;
    if (const LightingSettings* lighting = context.lighting_settings) {
        request.sun_follow = lighting->sun_follow;
        std::copy_n(lighting->sun_dir, 3, request.sun_dir);
    }
    if (context.camera_settings)
        request.camera = *context.camera_settings;
    request.status = context.scene_status;
    request.seconds = seconds;
    return request;
}

protocol::RenderSettings readRenderSettings(const ViewContext& context)
{
    protocol::RenderSettings settings;
    if (const DisplaySettings* display = context.display_settings) {
        settings.enable_sky = display->enable_sky;
        settings.enable_axis = display->enable_axis;
        settings.enable_ground = display->enable_ground;
        std::copy_n(display->bg_color, 3, settings.bg_color);
        settings.light_profile = display->light_profile;
    }
    if (const MaterialSettings* material = context.material_settings) {
        settings.material_type_a = material->material_type_a;
        settings.material_type_b = material->material_type_b;
        std::copy_n(material->material_color, 3, settings.material_color);
        settings.point_size = material->point_size;
        settings.raw_mode = material->raw_mode;
        settings.wireframe = material->wireframe;
    }
    if (const LightingSettings* lighting = context.lighting_settings) {
        settings.hdr_map = lighting->hdr_map;
        settings.hdr_map_type = lighting->hdr_map_type;
        settings.sun_follow = lighting->sun_follow;
        settings.ibl_intensity = lighting->ibl_intensity;
        settings.sun_intensity = lighting->sun_intensity;
        std::copy_n(lighting->sun_dir, 3, settings.sun_dir);
        std::copy_n(lighting->sun_color, 3, settings.sun_color);
        settings.ibl_enabled = lighting->ibl_enabled;
        settings.use_default_ibl = lighting->use_default_ibl;
        settings.sun_enabled = lighting->sun_enabled;
    }
    return settings;
}

std::string readModelPathBytes(const ViewContext& context)
{
    return {context.model_path, strnlen(context.model_path, sizeof context.model_path)};
}

std::optional<std::string> readModelPath(const ViewContext& context)
{
    std::string path = readModelPathBytes(context);
    if (path.size() == sizeof context.model_path)
        return std::nullopt;
    return path;
}

} // namespace ov3d::session
