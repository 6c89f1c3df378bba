// Pictures of frames on disk.
#pragma once

#include <string>

#include "preview/host/frame_pixels.h"

namespace pixelforge::preview {

/// Writes the frame without its alpha, which hosts ignore. Throws `HostError` with `Failed`; no
/// half-written file is left.
void WritePng(const std::wstring& absolutePath, const FramePixels& pixels);

}  // namespace pixelforge::preview
