#pragma once

#include "viewer/protocol/messages.h"

#include <string>

namespace ov3d::session {

/// What is known of a model, as one JSON object with a line a member (docs/viewer-contract.md).
/// @param path  bytes of the file system
[[nodiscard]] std::string factsAsJson(const std::string& path, const protocol::Loaded& facts);

} // namespace ov3d::session
