#pragma once

#include <cstddef>
#include <functional>

namespace ov3d::renderer {

/// Runs a task on a thread of its own with a stack of that size, and waits for it. The task lets no exception out.
/// @return false when the system gives no such thread; the task has not run then.
bool runOnDeepStack(std::size_t stackBytes, const std::function<void()>& task);

} // namespace ov3d::renderer
