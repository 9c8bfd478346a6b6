#pragma once

#include "viewer/renderer/environment/light.h"

#include <array>
#include <cstdint>

namespace ov3d::renderer {

/// The settings' intensities that light a white surface just below white.
inline constexpr double kNeutralEnvironmentIntensity = 46000.0;
inline constexpr double kNeutralSunIntensity = 140000.0;

/// Largest gain that a setting can ask for.
inline constexpr double kMaxGain = 16.0;

/// A setting as a multiple of its neutral value, 0 to kMaxGain; what is no number counts as 0.
[[nodiscard]] double gainOf(double intensity, double neutral);

/// How linear light becomes a displayed colour: faithful up to kShoulder, then bent so that nothing ever clips hard;
/// then encoded as sRGB. The shader text below does the same for surfaces.
[[nodiscard]] std::array<std::uint8_t, 3> displayed(Light light);

/// Brightest component that is shown as it is.
inline constexpr float kShoulder = 0.76f;

/// GLSL that turns the variable `color` (vec3, linear, not negative) into what is displayed. Roots in place of a power:
/// half of a fragment's time would go there on a software driver; the error stays below one step of 255.
inline constexpr const char* kDisplayShader = "  {\n"
                                              "    float peak = max(max(color.r, color.g), color.b);\n"
                                              "    if (peak > 0.76) {\n"
                                              "      float low = 1.0 - 0.0576 / (peak - 0.52);\n"
                                              "      float pale = 1.0 / (0.15 * (peak - low) + 1.0);\n"
                                              "      color = mix(vec3(low), color * (low / peak), pale);\n"
                                              "    }\n"
                                              "    vec3 root2 = sqrt(max(color, vec3(0.0)));\n"
                                              "    vec3 root4 = sqrt(root2);\n"
                                              "    vec3 root8 = sqrt(root4);\n"
                                              "    color = clamp(0.66200 * root2 + 0.68412 * root4 - 0.32358 * root8\n"
                                              "                  - 0.02254 * color, 0.0, 1.0);\n"
                                              "  }\n";

} // namespace ov3d::renderer
