#pragma once

/// The five settings blocks. Field names are the keys of the settings text; order and widths are part of the contract
/// with the viewer, which reads the blocks through the view context's pointers. Plain C++17, no Qt.

#include <cstddef>
#include <cstdint>
#include <string>

struct LightingSettings
{
    bool hdr_map = true;           ///< use an environment map
    std::int32_t hdr_map_type = 2; ///< which environment map
    bool sun_follow = true;        ///< the sun follows the camera
    std::string hdr_path;          ///< never part of the settings text or file
    double ibl_intensity = 46000.0;
    double sun_intensity = 140000.0;
    float sun_dir[3] = {0.57f, -0.57f, -0.57f};
    float sun_color[3] = {1.0f, 1.0f, 1.0f}; ///< components 0 to 1
    bool ibl_enabled = true;
    bool use_default_ibl = true;
    bool sun_enabled = true;
};

struct MaterialSettings
{
    std::int32_t material_type_a = 0;
    std::int32_t material_type_b = 6;
    float material_color[3] = {0.99f, 0.274f, 0.274f}; ///< components 0 to 1
    bool material_update = false;                      ///< the material is to be applied again
    std::int32_t point_size = 3;
    bool raw_mode = false;
    bool wireframe = false;
};

struct DisplaySettings
{
    bool enable_sky = false;
    bool enable_axis = false;
    bool enable_ground = false;
    float bg_color[3] = {0.2f, 0.99f,
                         0.1f}; ///< components 0 to 1; the saturated green default stands for "no background"
    std::int32_t light_profile = 0;
};

struct ViewSettings
{
    bool reset_camera = false;
    std::int32_t view_type = 0; ///< 5 is the value that a gesture suspends
};

struct CameraSettings
{
    std::int32_t camera_id = 0;
    double camera_values[4] = {0.0, 90.0, 90.0, -180.0};
    double camera_position[3] = {0.0, 0.0, 0.0};
};

static_assert(sizeof(ViewSettings) == 8);
static_assert(offsetof(ViewSettings, reset_camera) == 0);
static_assert(offsetof(ViewSettings, view_type) == 4);

static_assert(sizeof(DisplaySettings) == 20);
static_assert(offsetof(DisplaySettings, enable_sky) == 0);
static_assert(offsetof(DisplaySettings, enable_axis) == 1);
static_assert(offsetof(DisplaySettings, enable_ground) == 2);
static_assert(offsetof(DisplaySettings, bg_color) == 4);
static_assert(offsetof(DisplaySettings, light_profile) == 16);

static_assert(sizeof(MaterialSettings) == 32);
static_assert(offsetof(MaterialSettings, material_type_a) == 0);
static_assert(offsetof(MaterialSettings, material_type_b) == 4);
static_assert(offsetof(MaterialSettings, material_color) == 8);
static_assert(offsetof(MaterialSettings, material_update) == 20);
static_assert(offsetof(MaterialSettings, point_size) == 24);
static_assert(offsetof(MaterialSettings, raw_mode) == 28);
static_assert(offsetof(MaterialSettings, wireframe) == 29);

static_assert(sizeof(LightingSettings) == 96);
static_assert(offsetof(LightingSettings, hdr_map) == 0);
static_assert(offsetof(LightingSettings, hdr_map_type) == 4);
static_assert(offsetof(LightingSettings, sun_follow) == 8);
static_assert(offsetof(LightingSettings, hdr_path) == 16);
static_assert(offsetof(LightingSettings, ibl_intensity) == 48);
static_assert(offsetof(LightingSettings, sun_intensity) == 56);
static_assert(offsetof(LightingSettings, sun_dir) == 64);
static_assert(offsetof(LightingSettings, sun_color) == 76);
static_assert(offsetof(LightingSettings, ibl_enabled) == 88);
static_assert(offsetof(LightingSettings, use_default_ibl) == 89);
static_assert(offsetof(LightingSettings, sun_enabled) == 90);

static_assert(sizeof(CameraSettings) == 64);
static_assert(offsetof(CameraSettings, camera_id) == 0);
static_assert(offsetof(CameraSettings, camera_values) == 8);
static_assert(offsetof(CameraSettings, camera_position) == 40);
