// The finished frame's way into the host's bitmap.
#pragma once

#include "module/host_abi.h"

namespace pixelforge {

/// Reads the frame back, straight into the host's bitmap or, with an off-screen frame, into the module's
/// own bitmap and from there as levels or foreground into the host's. With neither of the two an
/// off-screen frame stays in the own bitmap, where tiling finds it. False when the read-back fails.
bool DeliverFrame(ModuleInstance& instance, const DrawContext& context);

/// Replaces the host's picture by tiles of the module's own bitmap when more than one tile is asked for.
void TileFrame(const ModuleInstance& instance, const DrawContext& context);

}  // namespace pixelforge
