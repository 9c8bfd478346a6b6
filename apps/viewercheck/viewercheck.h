#pragma once

#include "apps/viewercheck/rules.h"

#include <QString>

#include <chrono>
#include <functional>

namespace ov3d::viewercheck {

struct Options
{
    QString library; ///< a path, or a name that the dynamic linker finds
    QString symbol;
    std::chrono::milliseconds limit{30000}; ///< for whatever a viewer has to do
    int jobs = 1;                           ///< stretches that run side by side
};

/// Drives a viewer library through the viewer contract, each stretch in a process of its own. This process never loads
/// the library. Call it while the process has one thread and no application object: it forks.
///
/// @return an empty text, or why the viewer could not be loaded or the check not be made at all; `findings` is then as
///     good as empty.
QString checkViewer(const Options& options, Findings& findings);

} // namespace ov3d::viewercheck
