#pragma once

#include "viewer/camera/controller.h"
#include "viewer/protocol/messages.h"

#include <optional>
#include <string>

namespace ov3d::session {

/// What ov3dViewerRenderImage is asked for (docs/viewer-contract.md).
struct ImageRequest
{
    std::string model; ///< absolute path, bytes of the file system
    std::int32_t format = kFormatNone;
    protocol::RenderSettings settings;
    camera::Request start; ///< settings of the view, and a status to begin with

    // Without a status. Applied in this order, each where it is given.
    std::optional<std::int32_t> view_type;
    struct Angles
    {
        double azimuth = 0;
        double elevation = 0;
    };
    std::optional<Angles> angles; ///< degrees
    double zoom = 1;
};

/// @param text  JSON, UTF-8
/// @return nothing, with plain words in `fault`, when the text is malformed or a value has the wrong type.
[[nodiscard]] std::optional<ImageRequest> parseImageRequest(const std::string& text, std::string& fault);

/// The camera that a request asks for.
[[nodiscard]] OV3DOBJECT::SceneStatus viewOf(const ImageRequest& request, const protocol::Loaded& model,
                                             std::int32_t width, std::int32_t height);

} // namespace ov3d::session
