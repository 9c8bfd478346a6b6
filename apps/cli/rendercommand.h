#pragma once

#include "apps/cli/commandline.h"

namespace ov3d::apps {

class StandardStreams;

/// Carries out "ov3d render": needs the application object and a display-less platform. Speaks through `streams`.
/// @param folder  the folder that relative names stand in.
ExitCode runRender(const RenderCommand& command, const QString& folder, const StandardStreams& streams);

} // namespace ov3d::apps
