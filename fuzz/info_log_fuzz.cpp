// Arbitrary driver logs and line maps.
#include <sstream>
#include <string>

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

bool NamesASource(const std::string& line) {
    return line.starts_with("PREFIX:") || line.starts_with("Common:") || line.starts_with("Image:");
}

void Check(const std::string& log, const std::string& mapped) {
    std::istringstream lines(log);
    std::istringstream mappedLines(mapped);
    std::string after;
    for (std::string before; std::getline(lines, before);) {
        Require(bool{std::getline(mappedLines, after)}, "no line is lost");
        before.resize(before.size() - (before.ends_with('\r') ? 1 : 0));
        Require(after == before || NamesASource(after), "a line is unchanged or names its source");
    }
    Require(!std::getline(mappedLines, after), "no line is added");
    Require(mapped.empty() || mapped.back() == '\n', "every line ends");
}

}  // namespace

void TryInput(std::string_view input) {
    const LineMap map = ReadMap(input);
    Check(std::string(input), MapInfoLog(input, map));
}

}  // namespace pixelforge::fuzz
