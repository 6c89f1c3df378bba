// One frame, from the host's call to the pixels in the host's bitmap.
#pragma once

#include "module/host_abi.h"

namespace pixelforge {

/// Loads a shader when one is due, draws one frame and brings it into the host's bitmap. The caller's
/// GL context is current again afterwards, whatever the outcome.
FrameResult DrawFrame(ModuleInstance& instance, const DrawContext& context);

}  // namespace pixelforge
