#pragma once

#include "apps/cli/commandline.h"

namespace ov3d::apps {

class StandardStreams;

/// Carries out "ov3d check": one line a file on standard output, which says what the file is, why it is refused or
/// cannot be shown, and what it lacks. Each file that gets through the content check is read by the viewer, in a small
/// size. Needs no application object.
/// @param folder  the folder that relative names stand in.
/// @return the worst code of all files.
ExitCode runCheck(const CheckCommand& command, const QString& folder, const StandardStreams& streams);

} // namespace ov3d::apps
