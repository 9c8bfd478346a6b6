#pragma once

#include <array>
#include <cstdint>
#include <vector>

/// From drawn samples to the picture that a host receives. Pure pixel work: no VTK, no files, no state.
///
/// A host makes the key colour transparent, together with one pixel on each side of every horizontal run of it. The
/// outline is therefore hard, free of the key colour, and one pixel wider at both ends of each run than the model is.
namespace ov3d::renderer {

using Rgb = std::array<std::uint8_t, 3>;

/// What stands for "no model here". Hosts rely on these exact values.
inline constexpr Rgb kKeyColour{92, 238, 20};

/// A pixel whose three channels are all this close to the key colour is taken for it.
inline constexpr int kKeyTolerance = 2;

/// What was drawn: `factor` x `factor` samples a pixel, as OpenGL returns them (rows from bottom to top, no padding).
/// A sample with alpha 0 shows no model; any other alpha counts as covered, its colour is final.
struct Samples
{
    const std::uint8_t* rgba = nullptr;
    int width = 0;  ///< pixels of the picture
    int height = 0; ///< the same
    int factor = 1; ///< samples along one side of a pixel, 1 to 4
};

/// @return the colour, moved just out of the key's tolerance where it lies within.
[[nodiscard]] Rgb avoidKey(Rgb colour);

/// Writes the picture with the key colour wherever no model is.
///
/// A pixel shows the model when at least half of its samples are covered; its colour is the average of the covered
/// ones. Each horizontal run of such pixels is then widened by one pixel on each side, with the colour of the run's
/// end.
///
/// @param rgb rows from top to bottom, `rowBytes` apart; the padding of a row is zeroed.
void writeKeyedPicture(const Samples& samples, std::uint8_t* rgb, std::size_t rowBytes);

/// Writes an opaque picture: the average of all samples, which were drawn over the background already. No pixel comes
/// within the key's tolerance.
void writeOpaquePicture(const Samples& samples, std::uint8_t* rgb, std::size_t rowBytes);

} // namespace ov3d::renderer
