// The form of this module's own lines on the debugger output.
#include "base/debug_output.h"

#include <exception>
#include <string>

namespace pixelforge {

void WriteDebugLine(std::string_view text) noexcept {
    try {
        std::string line = "Pixelforge: ";
        line += text;
        line += '\n';
        WriteDebugText(line);
    } catch (const std::exception&) {
        WriteDebugText("Pixelforge: out of memory\n");
    }
}

}  // namespace pixelforge
