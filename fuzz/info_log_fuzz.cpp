// Arbitrary driver logs, assembled texts and line maps.
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "glsl/info_log.h"
#include "glsl/line_map.h"

namespace pixelforge::fuzz {
namespace {

/// Stretches of up to 255 lines, with source line numbers up to the maximum.
LineMap ReadMap(std::string_view& input) {
    LineMap map;
    for (const char* name : {"", "PREFIX", "Common", "Image"}) {
        map.AddSource(name);
    }
    std::uint32_t outputLine = 1;
    for (int stretches = TakeByte(input) % 8; stretches > 0; --stretches) {
        const std::uint8_t source = TakeByte(input);
        map.Begin(outputLine, source % 4, source < 128 ? TakeByte(input) : ~std::uint32_t{TakeByte(input)});
        outputLine += TakeByte(input);
    }
    return map;
}

void Check(const std::string& log, const std::vector<std::string>& mapped) {
    std::istringstream lines(log);
    auto after = mapped.begin();
    for (std::string before; std::getline(lines, before);) {
        before.resize(before.find_last_not_of(std::string_view("\r\0", 2)) + 1);
        if (before.empty()) {
            continue;
        }
        Require(after != mapped.end(), "no line is lost");
        Require(after->starts_with("Image:"), "every line names the pass");
        Require(
            after->starts_with("Image: " + before) || before.find_first_of("0123456789") != std::string::npos,
            "only positions are rewritten");
        ++after;
    }
    Require(after == mapped.end(), "no line is added");
}

}  // namespace

void TryInput(std::string_view input) {
    const LineMap map = ReadMap(input);
    const std::string text(TakeText(input));
    Check(std::string(input), MapInfoLog("Image", input, text, map));
}

}  // namespace pixelforge::fuzz
