// The debugger output: the only place where this module reports anything.
#pragma once

#include <string_view>

namespace pixelforge {

/// Writes a UTF-8 text as it is, in one piece. The native build writes to stderr.
void WriteDebugText(std::string_view text) noexcept;

/// Writes "Pixelforge: ", the text and a line end in one piece.
void WriteDebugLine(std::string_view text) noexcept;

}  // namespace pixelforge
