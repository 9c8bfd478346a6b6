#pragma once

namespace ov3d::apps {

/// Takes a UTF-8 locale when the environment's is another one or none, so that every file name can be named. Call it
/// first thing in main(), before any thread and before the application object.
void makeLocaleUtf8();

} // namespace ov3d::apps
