#pragma once

/// The messages between a session (in the host's process) and its renderer (a child process).
///
/// One conversation: the session sends requests, the renderer answers each in order. Plain values, no pointers; the
/// renderer is hostile ground once a model has been read, so the session checks every length that it receives.

#include "src/render/viewcontext.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace ov3d::protocol {

// ---- session to renderer ----------------------------------------------------------------------------------------

/// Read a model. Answered by any number of Progress and then one Loaded or Failed.
struct LoadRequest
{
    std::string path;                        ///< absolute, as bytes of the file system
    std::int32_t model_format = kFormatNone; ///< a ModelFormat
    bool without_textures = false;           ///< the second try after a crash
    bool list_only = false;                  ///< only the side files are wanted: nothing is drawn afterwards
    std::uint64_t max_frame_bytes = 0;       ///< size of the frame memory whose descriptor comes with this message
};

/// How carefully a picture is drawn.
enum class Quality : std::uint32_t
{
    draft, ///< no supersampling, while a gesture runs
    final, ///< what a picture at rest looks like
};

/// The settings blocks as the renderer needs them: the values of src/persist/viewsettings.h without their strings'
/// ownership. A picture depends on these, the scene status, the model and the size alone.
struct RenderSettings
{
    bool enable_sky = false;
    bool enable_axis = false;
    bool enable_ground = false;
    float bg_color[3] = {0.2f, 0.99f, 0.1f};
    std::int32_t light_profile = 0;

    std::int32_t material_type_a = 0;
    std::int32_t material_type_b = 6;
    float material_color[3] = {0.99f, 0.274f, 0.274f};
    std::int32_t point_size = 3;
    bool raw_mode = false;
    bool wireframe = false;

    bool hdr_map = true;
    std::int32_t hdr_map_type = 2;
    bool sun_follow = true;
    double ibl_intensity = 46000.0;
    double sun_intensity = 140000.0;
    float sun_dir[3] = {0.57f, -0.57f, -0.57f};
    float sun_color[3] = {1.0f, 1.0f, 1.0f};
    bool ibl_enabled = true;
    bool use_default_ibl = true;
    bool sun_enabled = true;
    std::string hdr_path; ///< a user's environment map, or empty

    friend bool operator==(const RenderSettings&, const RenderSettings&) = default;
};

/// The part of a larger picture that one request draws; all zero when the request draws the whole picture.
struct Tile
{
    std::int32_t left = 0; ///< pixels from the whole picture's left edge
    std::int32_t top = 0;
    std::int32_t whole_width = 0;
    std::int32_t whole_height = 0;

    friend bool operator==(const Tile&, const Tile&) = default;
};

/// Draw the loaded model. Answered by one Rendered or Failed.
struct RenderRequest
{
    std::uint64_t serial = 0; ///< repeated in the answer
    std::int32_t width = 0;   ///< pixels; the padded picture fits into the frame memory
    std::int32_t height = 0;
    Tile tile;
    Quality quality = Quality::final;
    OV3DOBJECT::SceneStatus status{}; ///< the camera (viewer/camera/scenestatus.h)
    RenderSettings settings;
};

// ---- renderer to session ----------------------------------------------------------------------------------------

/// Sent once, when the renderer has started and can draw.
struct Ready
{
    std::string graphics; ///< name of the graphics driver, for people
};

struct Progress
{
    std::int32_t percent = 0; ///< 0 to 100 of this load
};

struct Loaded
{
    double centre[3] = {0, 0, 0}; ///< of the bounding sphere, world units, +Y up
    double radius = 0;            ///< 0 when the model is a single point
    double box_min[3] = {0, 0, 0};
    double box_max[3] = {0, 0, 0};
    std::uint64_t triangles = 0;
    std::uint32_t materials = 0;
    std::uint32_t textures = 0;
    std::vector<std::string> files;   ///< needed side files, relative to the model's folder, "/" between, UTF-8
    std::vector<std::string> missing; ///< those that were not found, as the model names them
    std::vector<std::string> notes;   ///< what was repaired or left out, in plain words
};

struct Rendered
{
    std::uint64_t serial = 0;
    std::int32_t width = 0; ///< the frame memory holds RGB rows, top to bottom, padded to four bytes
    std::int32_t height = 0;
    std::string note = {}; ///< what this picture had to do without, in plain words, or empty
};

/// Whether bounds are numbers that a camera can be fitted to. Anything may come from a renderer.
[[nodiscard]] bool isFinite(const Loaded& loaded);

/// The request could not be carried out; the renderer lives on.
struct Failed
{
    std::string reason; ///< plain words without the file's name: "ends in the middle of its data"
};

using Request = std::variant<LoadRequest, RenderRequest>;
using Answer = std::variant<Ready, Progress, Loaded, Rendered, Failed>;

/// Longest encoded message. A longer answer is cut by the renderer before it is sent (file lists).
inline constexpr std::size_t kMaxMessageBytes = std::size_t{128} * 1024;

std::vector<std::uint8_t> encode(const Request& request);
std::vector<std::uint8_t> encode(const Answer& answer);

/// @return false when the bytes are no complete message; `out` is then unspecified but valid.
bool decode(const std::uint8_t* bytes, std::size_t size, Request& out);
bool decode(const std::uint8_t* bytes, std::size_t size, Answer& out);

/// Bytes of one padded RGB row.
[[nodiscard]] constexpr std::uint64_t rowBytes(std::int32_t width)
{
    return (static_cast<std::uint64_t>(width) * 3 + 3) / 4 * 4;
}

} // namespace ov3d::protocol
