// Builds the passes of a shader, with the process-wide settings that the next build uses.
#pragma once

#include <cstdint>
#include <functional>

namespace pixelforge {

struct GlRenderer;

/// The internal format of flat targets: true selects 8-bit colour, false (the initial value) 32-bit float.
/// Graphs built earlier keep theirs.
void SetBufferFormat(bool fastBuffers) noexcept;

/// Targets get 2^n samples; 0, the initial value, turns multisampling off. An exponent outside 0 to 30, or
/// beyond what the current context supports, keeps the previous one. The caller's context is current and
/// usable.
void SetSampleExponent(std::int32_t exponent) noexcept;

std::int32_t SampleExponent() noexcept;

/// Receives the name of a step of a build that has just ended, for measuring.
using StepObserver = std::function<void(const char* step)>;

/// Builds programs, channels and targets for every drawable pass of `renderer.document`. The renderer's
/// context is current and its include context is set. Throws a `LoadError` that names passes and stages if
/// some pass cannot be built, after writing the driver's logs of all passes to the debugger output. The steps
/// are "text", "compile", "link", "media" and "targets".
void BuildPassGraph(GlRenderer& renderer, const StepObserver& onStep = {});

}  // namespace pixelforge
