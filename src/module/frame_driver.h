// One frame, from the host's call to the pixels in the host's bitmap.
#pragma once

#include "module/host_abi.h"

namespace pixelforge {

/// Loads a shader if one is due, draws one frame and delivers it to the host's bitmap. Always restores the
/// caller's GL context.
FrameResult DrawFrame(ModuleInstance& instance, const DrawContext& context);

}  // namespace pixelforge
