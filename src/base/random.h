// Random numbers for picking shaders.
#pragma once

#include <cstdint>

namespace pixelforge {

/// Where a random 32-bit number comes from; callers take it as an argument so that tests can choose.
using RandomSource = std::uint32_t (*)();

/// Four bytes from the system's preferred generator; when that fails, four times `rand`.
std::uint32_t SystemRandom() noexcept;

}  // namespace pixelforge
