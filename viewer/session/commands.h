#pragma once

/// The viewer commands: operation codes of ours beyond ViewOperation (src/render/viewcontext.h), with a text argument
/// in `command_text`. Plain C++, no Qt, for hosts. docs/viewer-contract.md has the arguments in full.
///
/// The answer stands in `result`: 0 done, 1 failed. Commands that write a file are answered a little later than the
/// call returns, by the session's thread; all others before it returns. A command that comes while another has not been
/// answered takes its place.

#include <cstdint>

namespace ov3d {

enum ViewerCommand : std::int32_t
{
    kCommandOrbit = 100,          ///< "AZIMUTH ELEVATION" in degrees: turns the camera about the focal point
    kCommandShowView = 101,       ///< front, back, left, right, top, bottom or isometric
    kCommandReset = 102,          ///< no text: the view that the model was first shown in
    kCommandKeepView = 103,       ///< NAME: keeps the current view under it, for the rest of the run
    kCommandReturnToView = 104,   ///< NAME of a view that was kept
    kCommandSavePicture = 105,    ///< PATH: writes the picture at rest, transparent around the model, as a PNG file
    kCommandReportFacts = 106,    ///< PATH: writes what is known of the model as a JSON file
    kCommandSetEnvironment = 107, ///< PATH of a Radiance picture (.hdr) that lights the model; empty: none
};

/// Greatest length of a command's text in bytes. A text that leaves no room for its terminating zero is refused.
inline constexpr int kMaxCommandTextBytes = 255;

/// How many views a run keeps; a further name is refused.
inline constexpr int kMaxKeptViews = 64;

} // namespace ov3d
