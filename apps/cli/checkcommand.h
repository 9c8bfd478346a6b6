#pragma once

#include "apps/cli/commandline.h"

namespace ov3d::apps {

class StandardStreams;

/// Carries out "ov3d check": one line a file on standard output. @return the worst code of all files.
ExitCode runCheck(const CheckCommand& command, const QString& folder, const StandardStreams& streams);

} // namespace ov3d::apps
