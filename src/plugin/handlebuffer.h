#pragma once

/// Capacity in bytes of `g_3d_handle`, without the padding behind it. Not exported.
extern int g_3d_handle_size;
