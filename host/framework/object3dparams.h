#pragma once

#include "host/framework/effectlayerparams.h"

#include <QtGlobal>

#include <string>

/// The parameters of a 3D object: what special property 101 carries, and behind it the camera block that the item
/// lends to its viewer.
///
/// The order of the fields and the place of the camera block are part of the binary interface.
class OV_FRAMEWORK_EXPORT CEL3DObjectParams : public CEffectLayerParams
{
public:
    /// Not part of the JSON text.
    struct CameraBlock
    {
        qint32 camera_id = 0;
        double camera_values[4] = {0.0, 90.0, 90.0, -180.0};
        double camera_position[3] = {0.0, 0.0, 0.0};
    };

    CEL3DObjectParams();
    CEL3DObjectParams(const CEL3DObjectParams&);
    CEL3DObjectParams& operator=(const CEL3DObjectParams&);
    ~CEL3DObjectParams() override;

    bool reset_camera = false;
    qint32 view_type = 0;
    bool enable_sky = false;
    bool enable_axis = false;
    bool enable_ground = false;
    float bg_color[3] = {0.2f, 0.99f, 0.1f}; ///< components 0 to 1
    qint32 light_profile = 0;
    qint32 material_type_a = 0;
    qint32 material_type_b = 6;
    double material_color[3] = {0.99, 0.274, 0.274}; ///< components 0 to 1
    bool material_update = false;
    qint32 point_size = 3;
    bool raw_mode = false;
    bool wireframe = false;
    bool hdr_map = true;
    qint32 hdr_map_type = 2;
    bool sun_follow = true;
    std::string hdr_path; ///< UTF-8
    qint32 ibl_intensity = 46000;
    qint32 sun_intensity = 140000;
    double sun_dir[3] = {0.57, -0.57, -0.57};
    double sun_color[3] = {1.0, 1.0, 1.0}; ///< components 0 to 1
    bool ibl_enabled = true;
    bool use_default_ibl = true;
    bool sun_enabled = true;
    qint32 camera_id = 0;
    double camera_values[6] = {90.0, 90.0, -180.0, 0.0, 0.0, 0.0}; ///< three angles in degrees, then the position
    bool command = false;    ///< true: the record is a viewer command, false: settings
    qint32 command_code = 0; ///< the viewer operation of a command
    QString command_text;    ///< the argument of a command
    CameraBlock camera_block;
};

// offsetof on a class with a vtable is conditionally supported; both compilers that build this library support it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(CEffectLayerParams) == 16);
static_assert(sizeof(CEL3DObjectParams) == 328);
static_assert(sizeof(CEL3DObjectParams::CameraBlock) == 64);
static_assert(__builtin_offsetof(CEL3DObjectParams, reset_camera) == 16);
static_assert(__builtin_offsetof(CEL3DObjectParams, view_type) == 20);
static_assert(__builtin_offsetof(CEL3DObjectParams, enable_sky) == 24);
static_assert(__builtin_offsetof(CEL3DObjectParams, enable_axis) == 25);
static_assert(__builtin_offsetof(CEL3DObjectParams, enable_ground) == 26);
static_assert(__builtin_offsetof(CEL3DObjectParams, bg_color) == 28);
static_assert(__builtin_offsetof(CEL3DObjectParams, light_profile) == 40);
static_assert(__builtin_offsetof(CEL3DObjectParams, material_type_a) == 44);
static_assert(__builtin_offsetof(CEL3DObjectParams, material_type_b) == 48);
static_assert(__builtin_offsetof(CEL3DObjectParams, material_color) == 56);
static_assert(__builtin_offsetof(CEL3DObjectParams, material_update) == 80);
static_assert(__builtin_offsetof(CEL3DObjectParams, point_size) == 84);
static_assert(__builtin_offsetof(CEL3DObjectParams, raw_mode) == 88);
static_assert(__builtin_offsetof(CEL3DObjectParams, wireframe) == 89);
static_assert(__builtin_offsetof(CEL3DObjectParams, hdr_map) == 90);
static_assert(__builtin_offsetof(CEL3DObjectParams, hdr_map_type) == 92);
static_assert(__builtin_offsetof(CEL3DObjectParams, sun_follow) == 96);
static_assert(__builtin_offsetof(CEL3DObjectParams, hdr_path) == 104);
static_assert(__builtin_offsetof(CEL3DObjectParams, ibl_intensity) == 136);
static_assert(__builtin_offsetof(CEL3DObjectParams, sun_intensity) == 140);
static_assert(__builtin_offsetof(CEL3DObjectParams, sun_dir) == 144);
static_assert(__builtin_offsetof(CEL3DObjectParams, sun_color) == 168);
static_assert(__builtin_offsetof(CEL3DObjectParams, ibl_enabled) == 192);
static_assert(__builtin_offsetof(CEL3DObjectParams, use_default_ibl) == 193);
static_assert(__builtin_offsetof(CEL3DObjectParams, sun_enabled) == 194);
static_assert(__builtin_offsetof(CEL3DObjectParams, camera_id) == 196);
static_assert(__builtin_offsetof(CEL3DObjectParams, camera_values) == 200);
static_assert(__builtin_offsetof(CEL3DObjectParams, command) == 248);
static_assert(__builtin_offsetof(CEL3DObjectParams, command_code) == 252);
static_assert(__builtin_offsetof(CEL3DObjectParams, command_text) == 256);
static_assert(__builtin_offsetof(CEL3DObjectParams, camera_block) == 264);
static_assert(__builtin_offsetof(CEL3DObjectParams::CameraBlock, camera_id) == 0);
static_assert(__builtin_offsetof(CEL3DObjectParams::CameraBlock, camera_values) == 8);
static_assert(__builtin_offsetof(CEL3DObjectParams::CameraBlock, camera_position) == 40);
#pragma GCC diagnostic pop
