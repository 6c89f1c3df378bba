// The words that stand in for a picture while a shader cannot be shown.
#pragma once

#include "module/host_abi.h"

namespace pixelforge {

/// Fills the host's bitmap with black and writes "Shader Error" into it. Uses GDI only.
void DrawErrorScreen(const DrawContext& context);

}  // namespace pixelforge
