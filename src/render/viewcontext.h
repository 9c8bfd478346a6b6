#pragma once

/// The records that pass between the plug-in and the external viewer function.
///
/// A separately built viewer reads and writes a view context through a raw pointer, so the byte layout (x86-64,
/// little-endian) is a contract between two programs. Plain C++17, no Qt: a viewer needs this header,
/// src/persist/viewsettings.h and, for the hand-shakes, src/render/handshake.h.
///
/// Threads: the GUI thread, the item's render thread and the viewer's thread share one record without a lock.
/// `first_draw`, `frame_width` and `result` are the hand-shakes; access them with acquire and release order
/// (src/render/handshake.h). Everything else is written by the side named here before the other side reads it.

#include <cstddef>
#include <cstdint>
#include <type_traits>

struct ViewSettings;
struct DisplaySettings;
struct MaterialSettings;
struct LightingSettings;
struct CameraSettings;

namespace OV3DOBJECT {

/// The viewer's camera state. Its members belong to the viewer; the plug-in moves the record only as a whole.
/// docs/viewer-contract.md says what our viewer keeps in them.
struct SceneStatus
{
    double camera_to_world[16];
    double intrinsics[9];
    double projection[16];
    double focal_point[3];
    double sun_direction[3];
};

static_assert(sizeof(SceneStatus) == 376 && alignof(SceneStatus) == 8);
static_assert(std::is_trivially_copyable_v<SceneStatus> && std::is_standard_layout_v<SceneStatus>);

} // namespace OV3DOBJECT

/// What one call of the viewer function asks for (`ViewContext::op`).
enum ViewOperation : std::int32_t
{
    kOperationStop = -1,         ///< the viewer is to end
    kOperationStart = 1,         ///< first request of a run
    kOperationInput = 2,         ///< read the mouse record
    kOperationRedraw = 3,        ///< settings have changed
    kOperationApplyViewType = 4, ///< `view_type` has changed
    kOperationRestore = 5,       ///< take over the scene status found in `scene_status`
};

/// Values of `ViewContext::mouse_type`.
enum MouseRecordType : std::int32_t
{
    kMouseButtonDown = 1,
    kMouseDrag = 2,
    kMouseButtonUp = 3,
    kMouseWheel = 4,
};

/// Values of `ViewContext::model_format`.
enum ModelFormat : std::int32_t
{
    kFormatNone = -1,
    kFormatFbx = 0,
    kFormatObj = 1,
    kFormatGltf = 2,
    kFormatStl = 3,
    kFormatGlb = 4,
    kFormat3mf = 5,
};

/// `ViewContext::frame_width` while no frame waits in the buffer.
inline constexpr std::int32_t kNoFrame = -1;

/// The record that the viewer function receives as its context, 3352 bytes. Copied as raw bytes; every pointer in it
/// is borrowed.
struct ViewContext
{
    std::int32_t op;     ///< a ViewOperation, or a code of the host's own
    std::int32_t width;  ///< pixels that the viewer is to draw
    std::int32_t height; ///< the same
    std::int32_t
        frame_width; ///< width of the frame that waits in `frame_buffer`, or kNoFrame; the viewer writes it last
    std::int32_t frame_height;
    std::uint8_t pad20[4];

    /// 8-bit RGB, rows from top to bottom, each padded to a multiple of four bytes. Holds at least
    /// width * height * 8 bytes of the size that the run began with.
    unsigned char* frame_buffer;

    /// Local 8-bit encoding, zero-filled. A path of 256 bytes or more has no terminating zero. A viewer command puts
    /// its text into the same bytes.
    union
    {
        char model_path[256];
        char command_text[256];
    };

    std::int32_t mouse_type;      ///< a MouseRecordType
    std::int32_t mouse_x;         ///< item coordinates, truncated toward zero
    std::int32_t mouse_y;         ///< the same
    std::int32_t mouse_modifiers; ///< 0 none, 1 Shift with the left button, 3 Alt, 4 middle button
    std::int32_t mouse_buttons;   ///< 1 on button and drag events, 0 on wheel events
    std::int32_t mouse_button;    ///< 1 left, 4 right, 0 on wheel events
    std::int32_t mouse_count;     ///< 1 on button and drag events, 0 on wheel events
    float wheel_dx;               ///< always 0
    float wheel_dy;               ///< wheel step, 0 on other events
    std::uint8_t mouse_pending;   ///< 1 on button and drag events, 0 on wheel events
    std::uint8_t pad325[3];

    ViewSettings* view_settings;
    DisplaySettings* display_settings;
    MaterialSettings* material_settings;
    LightingSettings* lighting_settings;

    std::uint8_t first_draw; ///< set by the viewer once its first frame has been drawn
    std::uint8_t pad361[7];

    CameraSettings* camera_settings;

    std::uint8_t is_history; ///< 0 in the item's own context, 1 in the copies that its history keeps
    std::uint8_t reserved377;
    std::uint8_t pad378[2];
    std::int32_t object_id; ///< serial of this viewer run
    std::uint8_t reserved384;
    std::uint8_t pad385[7];

    OV3DOBJECT::SceneStatus scene_status; ///< kept current by the viewer
    std::uint8_t reserved768;
    std::uint8_t status_saved;
    std::uint8_t pad770[6]; ///< without these six bytes `file_list` would begin at 770

    char file_list[2048]; ///< names of the model's side files, separated by "@", written before the first draw

    void (*progress_callback)(int percent);

    char app_path[512]; ///< application folder, local 8-bit encoding, zero-filled, not always terminated

    std::int32_t model_format; ///< a ModelFormat

    union
    {
        std::int32_t result;         ///< -1 pending, 0 done, 1 failed; the viewer answers a command here
        std::int32_t command_result; ///< the same field
    };
};

static_assert(sizeof(ViewContext) == 3352 && alignof(ViewContext) == 8);
static_assert(std::is_trivially_copyable_v<ViewContext> && std::is_standard_layout_v<ViewContext>);
static_assert(offsetof(ViewContext, op) == 0);
static_assert(offsetof(ViewContext, width) == 4);
static_assert(offsetof(ViewContext, height) == 8);
static_assert(offsetof(ViewContext, frame_width) == 12);
static_assert(offsetof(ViewContext, frame_height) == 16);
static_assert(offsetof(ViewContext, pad20) == 20);
static_assert(offsetof(ViewContext, frame_buffer) == 24);
static_assert(offsetof(ViewContext, model_path) == 32);
static_assert(offsetof(ViewContext, command_text) == 32);
static_assert(offsetof(ViewContext, mouse_type) == 288);
static_assert(offsetof(ViewContext, mouse_x) == 292);
static_assert(offsetof(ViewContext, mouse_y) == 296);
static_assert(offsetof(ViewContext, mouse_modifiers) == 300);
static_assert(offsetof(ViewContext, mouse_buttons) == 304);
static_assert(offsetof(ViewContext, mouse_button) == 308);
static_assert(offsetof(ViewContext, mouse_count) == 312);
static_assert(offsetof(ViewContext, wheel_dx) == 316);
static_assert(offsetof(ViewContext, wheel_dy) == 320);
static_assert(offsetof(ViewContext, mouse_pending) == 324);
static_assert(offsetof(ViewContext, pad325) == 325);
static_assert(offsetof(ViewContext, view_settings) == 328);
static_assert(offsetof(ViewContext, display_settings) == 336);
static_assert(offsetof(ViewContext, material_settings) == 344);
static_assert(offsetof(ViewContext, lighting_settings) == 352);
static_assert(offsetof(ViewContext, first_draw) == 360);
static_assert(offsetof(ViewContext, pad361) == 361);
static_assert(offsetof(ViewContext, camera_settings) == 368);
static_assert(offsetof(ViewContext, is_history) == 376);
static_assert(offsetof(ViewContext, reserved377) == 377);
static_assert(offsetof(ViewContext, pad378) == 378);
static_assert(offsetof(ViewContext, object_id) == 380);
static_assert(offsetof(ViewContext, reserved384) == 384);
static_assert(offsetof(ViewContext, pad385) == 385);
static_assert(offsetof(ViewContext, scene_status) == 392);
static_assert(offsetof(ViewContext, reserved768) == 768);
static_assert(offsetof(ViewContext, status_saved) == 769);
static_assert(offsetof(ViewContext, pad770) == 770);
static_assert(offsetof(ViewContext, file_list) == 776);
static_assert(offsetof(ViewContext, progress_callback) == 2824);
static_assert(offsetof(ViewContext, app_path) == 2832);
static_assert(offsetof(ViewContext, model_format) == 3344);
static_assert(offsetof(ViewContext, result) == 3348);
static_assert(offsetof(ViewContext, command_result) == 3348);
