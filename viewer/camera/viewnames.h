#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace ov3d::camera {

/// The fixed view type (ViewSettings::view_type) of a name: front, back, left, right, top, bottom, isometric. Lower
/// case, no blanks. @return nothing for any other text.
[[nodiscard]] std::optional<std::int32_t> viewTypeOfName(std::string_view name);

} // namespace ov3d::camera
