// The debugger output, the module's only log.
#pragma once

#include <string_view>

namespace pixelforge {

/// Writes UTF-8 text unchanged, in a single call. The native build writes to stderr.
void WriteDebugText(std::string_view text) noexcept;

/// Writes "Pixelforge: ", the text without control characters, and a line feed in a single call.
void WriteDebugLine(std::string_view text) noexcept;

}  // namespace pixelforge
