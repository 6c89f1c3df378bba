// The texts of GL error codes.
#pragma once

#include <cstdint>

namespace pixelforge {

/// Never null; a code without a text of its own gets "Unknown error code.".
const char* GlErrorText(std::uint32_t code) noexcept;

}  // namespace pixelforge
