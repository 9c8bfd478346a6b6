#pragma once

#include "apps/cli/commandline.h"

namespace ov3d::apps {

class StandardStreams;

// The commands that read a document file and load nothing of it. Both need the application object.
// `folder` is the folder that relative names stand in.

ExitCode runInfo(const InfoCommand& command, const QString& folder, const StandardStreams& streams);
ExitCode runExtract(const ExtractCommand& command, const QString& folder, const StandardStreams& streams);

} // namespace ov3d::apps
