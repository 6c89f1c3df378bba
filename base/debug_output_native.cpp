// The native build's stand-in for the debugger output.
#include <cstdio>

#include "base/debug_output.h"

namespace pixelforge {

void WriteDebugText(std::string_view text) noexcept {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace pixelforge
