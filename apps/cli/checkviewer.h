#pragma once

#include "apps/cli/commandline.h"

namespace ov3d::apps {

class StandardStreams;

/// Carries out "ov3d check-viewer": one line a rule on standard output, or one JSON object. Call it before the
/// application object: it forks.
/// @return kExitDone when all rules hold, kExitNotShown when one is broken, kExitNoAccess when the library or the
///     symbol cannot be loaded.
ExitCode runCheckViewer(const CheckViewerCommand& command, const StandardStreams& streams);

} // namespace ov3d::apps
