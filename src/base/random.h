// Random numbers.
#pragma once

#include <cstdint>

namespace pixelforge {

/// Source of random 32-bit numbers; a parameter where tests supply their own.
using RandomSource = std::uint32_t (*)();

/// Four bytes from the system's preferred generator or, if it fails, from `rand`.
std::uint32_t SystemRandom() noexcept;

}  // namespace pixelforge
