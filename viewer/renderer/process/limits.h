#pragma once

namespace ov3d::renderer {

/// Makes the process a harmless one: no core dumps, a bounded heap (half of the machine's memory, or the megabytes of
/// $OV3D_RENDERER_MEMORY_MB), first to be ended when the machine's memory runs out.
void limitProcess();

/// Points standard output and error at $OV3D_RENDERER_LOG, or at nothing: libraries write there as they please.
void silenceOutput();

} // namespace ov3d::renderer
