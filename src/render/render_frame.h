// Runs the passes of a shader once and reads the picture back.
#pragma once

#include <cstdint>

#include "base/bitmap.h"

namespace pixelforge {

struct GlRenderer;

/// Filled by the caller for each frame.
struct FrameParameters {
    std::int32_t draw;  ///< 1
    float speed;        ///< seconds by which this frame advances shader time
};

/// Runs all passes once: Buffer A to D, Cube A, Image. The renderer's context is current. Returns 1, or 0 if
/// an argument is null, the context is unusable, or the driver has refused a render target, which the
/// debugger output names. The last three arguments are 1, 0 and 0.
std::int32_t RenderFrame(GlRenderer* renderer, const FrameParameters* parameters, std::int32_t, std::int32_t,
                         std::int32_t);

/// Copies the Image pass's newest picture into a section's pixels, bottom row first; samples are averaged.
/// The renderer's context is current. Returns 1, or 0 with the section unchanged: without a renderer or an
/// Image pass, or if the section is missing, not 32-bit, or not of exactly the picture's size. If the driver
/// cannot average the samples, the debugger output says so, too.
std::int32_t ReadFrameIntoBitmap(GlRenderer* renderer, const SectionPixels& bitmap);

}  // namespace pixelforge
