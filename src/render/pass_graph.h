// The passes of a shader: building their programs and targets, and running a frame.
#pragma once

#include <cstdint>
#include <string>

namespace pixelforge {

struct GlRenderer;

/// Made anew for each frame by the caller.
struct FrameParameters {
    std::int32_t draw;  ///< 1
    float speed;        ///< seconds of shader time that pass with this frame
};

/// Builds programs, channels and targets for every drawable pass of `renderer.document`, with the
/// process-wide build settings of the moment. The renderer's context is current and its include context is
/// set. False when a pass cannot be built; `reason` then is one UTF-8 line that names pass and stage, and
/// the driver's log is already on the debugger output.
bool BuildPassGraph(GlRenderer& renderer, std::string& reason);

/// Runs all passes once: Buffer A to D, Cube A, Image. The renderer's context is current. 1, or 0 when the
/// renderer or the parameters are missing or the context cannot be used. The last three arguments are 1, 0
/// and 0.
std::int32_t RenderFrame(GlRenderer* renderer, const FrameParameters* parameters, std::int32_t, std::int32_t,
                         std::int32_t);

}  // namespace pixelforge
