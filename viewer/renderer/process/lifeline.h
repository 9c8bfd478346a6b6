#pragma once

#include <sys/types.h>

namespace ov3d::renderer {

/// Starts a thread that ends this process at once when the other end of the socket is closed or the parent has gone,
/// whatever the rest of the process is doing, an endless import included.
///
/// @param socket stays open for the life of the process.
/// @param parent process id, or 0 for none to watch.
void watchLifeline(int socket, pid_t parent);

} // namespace ov3d::renderer
