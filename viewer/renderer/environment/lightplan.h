#pragma once

#include "viewer/camera/scenestatus.h"
#include "viewer/protocol/messages.h"
#include "viewer/renderer/environment/light.h"
#include "viewer/renderer/environment/skies.h"

#include <cstdint>
#include <vector>

namespace ov3d::renderer {

/// What the setting light_profile stands for. Values that are none count as `as_set`.
enum class LightProfile : std::int32_t
{
    as_set = 0,    ///< sun and environment as the settings have them
    soft = 1,      ///< mostly the environment, a hint of sun
    dramatic = 2,  ///< a strong sun, deep shadows
    portrait = 3,  ///< the sun as key light, a fill lamp from the right and a rim lamp from behind
    headlight = 4, ///< a lamp at the camera in place of the sun
    backlight = 5, ///< two lamps from behind in place of the sun
};

inline constexpr std::int32_t kLightProfileCount = 6;

/// Light of one direction.
struct Lamp
{
    camera::Vec3 travels; ///< unit vector, world axes
    Light light;          ///< what a white surface sends back that faces the lamp
};

/// Where an environment's light comes from.
enum class MapSource
{
    even, ///< no map: light from everywhere
    sky,  ///< one of our own
    file, ///< the user's
};

struct Map
{
    MapSource source = MapSource::even;
    Sky sky = Sky::studio;

    friend bool operator==(const Map&, const Map&) = default;
};

/// What lights a picture.
///
/// The map of the settings (hdr_map_type, or the user's file, which goes first) shows in reflections and in the sky.
/// While `use_default_ibl` is set, matt surfaces are lit by the neutral studio all the same, so that a model keeps its
/// colours in front of every sky; without it all light comes from the map. Without `hdr_map` there is no map: the light
/// is even. Without `ibl_enabled` the environment gives no light, but a sky box shows it still.
struct LightPlan
{
    Map reflections;            ///< also what the sky box shows
    Map matt;                   ///< lights matt surfaces
    float environment_gain = 1; ///< of reflections; 0 when the environment gives no light
    float matt_gain = 1;        ///< of the light on matt surfaces
    float sky_gain = 1;         ///< brightness of the sky box
    std::vector<Lamp> lamps;
};

/// @param hasFile whether the user's environment could be read.
[[nodiscard]] LightPlan planOf(const protocol::RenderSettings& settings, const camera::Pose& pose, bool hasFile);

} // namespace ov3d::renderer
