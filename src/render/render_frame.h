// Runs the passes of a shader once and reads the picture back.
#pragma once

#include <cstdint>

#include "base/bitmap.h"

namespace pixelforge {

struct GlRenderer;

/// Filled by the caller for each frame.
struct FrameParameters {
    std::int32_t draw;  ///< 1
    float speed;        ///< seconds of shader time that this frame advances
};

/// Runs all passes once: Buffer A to D, Cube A, Image. The renderer's context is current. Returns 1, or 0 if
/// the renderer or the parameters are null or the context is unusable. The last three arguments are 1, 0 and
/// 0.
std::int32_t RenderFrame(GlRenderer* renderer, const FrameParameters* parameters, std::int32_t, std::int32_t,
                         std::int32_t);

/// Copies the Image pass's newest picture into `bitmap`, the pixels of a section, bottom row first; samples
/// are averaged. The renderer's context is current. Returns 0, with the bitmap unchanged, if the renderer is
/// null, the document has no Image pass, or the section is missing or not 32-bit of exactly the picture's
/// size.
std::int32_t ReadFrameIntoBitmap(GlRenderer* renderer, const SectionPixels& bitmap);

}  // namespace pixelforge
