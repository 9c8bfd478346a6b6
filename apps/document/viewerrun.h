#pragma once

namespace ov3d::apps {

/// Serial of the viewer run that the plug-in began last, or -1 while no plug-in is loaded. With one loader thread that
/// is the load in progress. Any thread.
int lastViewerRun();

} // namespace ov3d::apps
