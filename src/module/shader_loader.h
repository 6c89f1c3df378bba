// Loading of a shader: from the playlist's pick to a pass graph that is ready to draw.
#pragma once

#include "module/host_abi.h"

namespace pixelforge {

/// Destroys the previous renderer and builds one for a shader picked from the playlist. False when any
/// step fails; the instance's error flag is then set and one line on the debugger output says why.
bool RunLoader(ModuleInstance& instance, const DrawContext& context);

}  // namespace pixelforge
