#pragma once

#include "viewer/renderer/import/modeldata.h"

#include <cstdint>
#include <vector>

namespace ov3d::renderer {

/// Where a model's ground lies, in the model's frame.
struct GroundShape
{
    Vec3 centre;
    double radius = 1;
};

/// A round plate just under the model, wide enough for its shadow. A round plate has a clean outline in front of any
/// page, where a plane without an end would have to fade, which an opaque picture cannot.
[[nodiscard]] GroundShape groundOf(const ModelData& model);

/// Pixels along one side of the shadow.
inline constexpr int kShadowSide = 256;

/// How much of the light reaches each place of the square around the plate: 255 all of it. Rows from -Z to +Z, columns
/// from -X to +X. The lower a part of the model hangs, the darker and sharper is its shadow. Depends on the model
/// alone.
[[nodiscard]] std::vector<std::uint8_t> contactShadow(const ModelData& model, const GroundShape& shape);

} // namespace ov3d::renderer
