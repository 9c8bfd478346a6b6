#pragma once

#include "apps/cli/commandline.h"

namespace ov3d::apps {

class StandardStreams;

// The commands on documents. All need the application object and a display-less platform, and speak through `streams`.
// `folder` is the folder that relative names stand in.

ExitCode runNew(const NewCommand& command, const QString& folder, const StandardStreams& streams);
ExitCode runSet(const SetCommand& command, const QString& folder, const StandardStreams& streams);

/// A picture of one page.
ExitCode runRenderPage(const RenderCommand& command, const QString& folder, const StandardStreams& streams);

} // namespace ov3d::apps
