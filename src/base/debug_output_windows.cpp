// Writes to the Windows debugger output.
#include <windows.h>

#include <algorithm>
#include <exception>
#include <string>

#include "base/debug_output.h"
#include "base/text.h"

namespace pixelforge {

void WriteDebugText(std::string_view text) noexcept {
    try {
        const bool ascii = std::ranges::all_of(text, [](char c) { return (c & 0x80) == 0; });
        const auto wide = ascii ? std::nullopt : Widen(text, DetectEncoding(text));
        if (wide) {
            OutputDebugStringW(wide->c_str());
        } else {
            OutputDebugStringA(std::string(text).c_str());
        }
    } catch (const std::exception&) {
        OutputDebugStringA("Pixelforge: out of memory\n");
    }
}

void WriteDebugLine(std::string_view text) noexcept {
    try {
        std::string line = "Pixelforge: ";
        line += WithoutControls(text);
        line += '\n';
        WriteDebugText(line);
    } catch (const std::exception&) {
        WriteDebugText("Pixelforge: out of memory\n");
    }
}

}  // namespace pixelforge
