#pragma once

#include "src/render/viewcontext.h"
#include "viewer/camera/controller.h"
#include "viewer/protocol/messages.h"

#include <optional>
#include <string>

namespace ov3d::session {

/// Copies out of a view context what a request says. Blocks whose pointer is null count as defaults. The caller makes
/// sure that the context is alive.

[[nodiscard]] camera::Request readCameraRequest(const ViewContext& context, double seconds);

/// Without `hdr_path`: it is a text object of the host's, empty whenever a viewer looks, and not safe to read while
/// the host may assign it.
[[nodiscard]] protocol::RenderSettings readRenderSettings(const ViewContext& context);

/// @return nothing when the path has no terminating zero, that is, has been cut short.
[[nodiscard]] std::optional<std::string> readModelPath(const ViewContext& context);

/// What stands in `model_path`, cut short or not: for messages.
[[nodiscard]] std::string readModelPathBytes(const ViewContext& context);

} // namespace ov3d::session
