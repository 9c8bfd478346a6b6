#include "viewer/renderer/environment/lightplan.h"

#include "viewer/renderer/environment/exposure.h"

#include <cmath>

namespace ov3d::renderer {
namespace {

using camera::Vec3;

/// What a white surface that faces it sends back of the neutral sun.
constexpr float kSunLight = 0.95f;

/// Share of the environment that lights matt surfaces, so that the sun models them: light from everywhere makes flat.
constexpr float kMattShare = 0.68f;

/// Lamps of the profiles, in camera axes (right, up, backward): where their light travels.
constexpr Vec3 kFromTheRight{-0.80, 0.10, -0.592};
constexpr Vec3 kFromBehind{0.45, -0.55, 0.7036};
constexpr Vec3 kFromBehindRight{-0.62, -0.42, 0.6626};

struct Profile
{
    float sun = 1;
    float environment = 1;
};

Profile profileOf(LightProfile profile)
{
    switch (profile) {
    case LightProfile::soft:
        return {0.2f, 1.5f};
    case LightProfile::dramatic:
        return {1.55f, 0.18f};
    case LightProfile::portrait:
        return {0.95f, 0.45f};
    case LightProfile::headlight:
        return {0.0f, 0.45f};
    case LightProfile::backlight:
        return {0.0f, 0.35f};
    case LightProfile::as_set:
        break;
    }
    return {};
}

Vec3 toWorld(Vec3 inCamera, const camera::Pose& pose)
{
    return pose.right * inCamera.x + pose.up * inCamera.y + pose.backward * inCamera.z;
}

Light colourOf(const float (&setting)[3])
{
    const auto bound = [](float value) { return value > 0 ? std::min(value, 1.0f) : 0.0f; };
    return {bound(setting[0]), bound(setting[1]), bound(setting[2])};
}

void addLamps(LightPlan& plan, LightProfile profile, const camera::Pose& pose)
{
    const auto add = [&](Vec3 inCamera, float strength) {
        plan.lamps.push_back({toWorld(inCamera, pose), Light{1, 1, 1} * strength});
    };
    if (profile == LightProfile::portrait) {
        add(kFromTheRight, 0.22f);
        add(kFromBehind, 0.70f);
    } else if (profile == LightProfile::headlight) {
        add({0, 0, -1}, 0.70f);
    } else if (profile == LightProfile::backlight) {
        add(kFromBehind, 1.1f);
        add(kFromBehindRight, 0.9f);
    }
}

} // namespace

LightPlan planOf(const protocol::RenderSettings& settings, const camera::Pose& pose, bool hasFile)
{
    LightPlan plan;
    if (settings.hdr_map) {
        plan.reflections = {hasFile ? MapSource::file : MapSource::sky,
                            hasFile ? Sky::studio : skyOf(settings.hdr_map_type)};
        plan.matt = settings.use_default_ibl ? Map{MapSource::sky, Sky::studio} : plan.reflections;
    }
    const bool isKnown = settings.light_profile >= 0 && settings.light_profile < kLightProfileCount;
    const auto profile = isKnown ? static_cast<LightProfile>(settings.light_profile) : LightProfile::as_set;
    const Profile shares = profileOf(profile);

    plan.sky_gain = static_cast<float>(gainOf(settings.ibl_intensity, kNeutralEnvironmentIntensity));
    plan.environment_gain = settings.ibl_enabled ? plan.sky_gain * shares.environment : 0.0f;
    plan.matt_gain = plan.environment_gain * kMattShare;
    const auto sun = static_cast<float>(gainOf(settings.sun_intensity, kNeutralSunIntensity)) * shares.sun;
    if (settings.sun_enabled && sun > 0)
        plan.lamps.push_back({settings.sun_follow ? toWorld(pose.sun_direction, pose) : pose.sun_direction,
                              colourOf(settings.sun_color) * (kSunLight * sun)});
    addLamps(plan, profile, pose);
    return plan;
}

} // namespace ov3d::renderer
