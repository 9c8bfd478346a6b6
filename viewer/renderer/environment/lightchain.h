#pragma once

#include "viewer/renderer/environment/light.h"
#include "viewer/renderer/environment/skies.h"

#include <array>
#include <functional>
#include <vector>

namespace ov3d::renderer {

/// The light from every direction.
using Radiance = std::function<Light(Direction)>;

/// Light that falls on a surface, by its normal: nine coefficients of the polynomials 1, y, z, x, xy, yz, 3zz - 1, xz,
/// xx - yy. The value is what a white matt surface sends back.
using Irradiance = std::array<Light, 9>;

[[nodiscard]] Light valueOf(const Irradiance& irradiance, Direction normal);

/// Side of the sharpest cube map, and the number of maps. Each has half the side of the one before; map i is for
/// roughness i / (kChainLevels - 1).
inline constexpr int kChainSide = 128;
inline constexpr int kChainLevels = 5;

/// Cube maps of ever blurrier reflections: six faces of RGB floats each, in OpenGL's order and orientation.
using Reflections = std::array<std::vector<float>, kChainLevels>;

/// What shading needs of an environment, made once on the processor: a fraction of the time that a software driver
/// takes.
struct LightChain
{
    Irradiance irradiance;
    Reflections reflections;
};

/// Takes some tens of milliseconds. Any thread.
[[nodiscard]] LightChain makeLightChain(const Radiance& radiance);

} // namespace ov3d::renderer
