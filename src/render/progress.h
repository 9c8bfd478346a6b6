#pragma once

/// Takes a load's progress from the viewer (any thread): stores it in `g_progress`, capped at 95, and logs it. Only the
/// loading code writes 100. @return true.
bool updateProcess(int value);
