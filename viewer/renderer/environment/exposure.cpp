#include "viewer/renderer/environment/exposure.h"

#include <cmath>

namespace ov3d::renderer {
namespace {

Light bent(Light light)
{
    const float peak = brightest(light);
    if (!(peak > kShoulder))
        return light;
    // A hyperbola that leaves the straight line without a kink and never reaches 1.
    constexpr float room = 1 - kShoulder;
    const float low = 1 - room * room / (peak + 1 - 2 * kShoulder);
    const float pale = 1 / (0.15f * (peak - low) + 1);
    return mix(Light{low, low, low}, light * (low / peak), pale);
}

std::uint8_t encoded(float linear)
{
    const float value = linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
}

} // namespace

double gainOf(double intensity, double neutral)
{
    // The comparison is also false for what is no number.
    return intensity > 0 ? std::min(intensity / neutral, kMaxGain) : 0.0;
}

std::array<std::uint8_t, 3> displayed(Light light)
{
    const Light shown = bent(light);
    return {encoded(shown.red), encoded(shown.green), encoded(shown.blue)};
}

} // namespace ov3d::renderer
