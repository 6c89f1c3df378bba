// Driver logs of any kind against line maps of any kind.
#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "glsl/info_log.h"
#include "glsl/line_map.h"

namespace pixelforge::fuzz {
namespace {

constexpr const char* kSources[] = {"", "PREFIX", "Common", "Image"};

/// Stretches of up to 255 lines; the texts' own line numbers may be the largest there are.
LineMap ReadMap(InputReader& input) {
    LineMap map;
    for (const char* name : kSources) {
        map.AddSource(name);
    }
    std::uint32_t outputLine = 1;
    for (int stretches = input.Byte() % 8; stretches > 0; --stretches) {
        const std::uint8_t source = input.Byte();
        map.Begin(outputLine, source % 4, source < 128 ? input.Byte() : ~std::uint32_t{input.Byte()});
        outputLine += input.Byte();
    }
    return map;
}

bool NamesASource(std::string_view line) {
    return line.starts_with("PREFIX:") || line.starts_with("Common:") || line.starts_with("Image:");
}

std::string_view TakeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return line;
}

void Check(std::string_view log, const LineMap& map) {
    const std::string mapped = MapInfoLog(log, map);
    std::string_view rest = mapped;
    while (!log.empty()) {
        Require(!rest.empty(), "no line is lost");
        std::string_view before = TakeLine(log);
        const std::string_view after = TakeLine(rest);
        before.remove_suffix(before.ends_with('\r') ? 1 : 0);
        Require(after == before || NamesASource(after), "a line is kept, or names its source");
    }
    Require(rest.empty() && (mapped.empty() || mapped.back() == '\n'), "every line ends, and none is added");
}

}  // namespace
}  // namespace pixelforge::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pixelforge::fuzz;
    InputReader input(data, size);
    const pixelforge::LineMap map = ReadMap(input);
    Check(input.Rest(), map);
    return 0;
}
