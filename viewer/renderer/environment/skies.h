#pragma once

#include "viewer/renderer/environment/light.h"

#include <cstdint>

namespace ov3d::renderer {

/// The environments that the viewer brings along, by the setting hdr_map_type.
enum class Sky : std::int32_t
{
    soft_box = 0,   ///< white walls, a broad panel above
    bright_day = 1, ///< blue sky with clouds over a meadow
    studio = 2,     ///< grey room with panels and a strip light; neutral
    sunset = 3,     ///< low red sun over the sea
    hall = 4,       ///< a room with windows on one side and lamps
    night = 5,      ///< moon and stars over the lights of a town
};

inline constexpr std::int32_t kSkyCount = 6;

/// The environment of a setting's value: the studio for values that are none.
[[nodiscard]] Sky skyOf(std::int32_t mapType);

/// A direction in world axes, +Y up; of unit length.
struct Direction
{
    float x = 0;
    float y = 0;
    float z = 0;
};

/// The light that comes from a direction. A pure function: nothing is stored, so a sky box has any resolution.
[[nodiscard]] Light radianceOf(Sky sky, Direction from);

/// Without a map: light from everywhere, a little more from above.
[[nodiscard]] Light evenRadiance(Direction from);

} // namespace ov3d::renderer
