// Process-wide settings that the next pass graph is built with; a graph that exists keeps its own.
#pragma once

#include <cstdint>

namespace pixelforge {

/// True selects 8-bit colour buffers, false (the initial value) 32-bit float ones.
void SetBufferFormat(bool fastBuffers) noexcept;

/// Internal format that flat targets get.
std::uint32_t BufferFormat() noexcept;

/// Targets get 2^n samples; 0, the initial value, turns multisampling off. A number outside 0 to 30, or
/// with more samples than the current context supports, keeps the previous one. The caller's GL context is
/// current and usable.
void SetSampleExponent(std::int32_t exponent) noexcept;

std::int32_t SampleExponent() noexcept;

}  // namespace pixelforge
