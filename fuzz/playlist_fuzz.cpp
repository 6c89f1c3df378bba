// Compares the pick from a playlist with an independent implementation.
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "base/text.h"
#include "fuzz/fuzz_input.h"
#include "module/playlist.h"
#include "tests/support/temp_file.h"

namespace pixelforge::fuzz {
namespace {

std::uint32_t chosenNumber = 0;

/// Non-empty runs of characters, each followed by a line end.
std::vector<std::string> Entries(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    std::ranges::replace(text, '\r', '\n');
    std::istringstream lines(text);
    std::vector<std::string> entries;
    for (std::string line; std::getline(lines, line) && !lines.eof();) {
        if (!line.empty()) {
            entries.push_back(line);
        }
    }
    return entries;
}

std::wstring ExpectedPick(const std::vector<std::string>& entries) {
    if (entries.empty()) {
        return L"";
    }
    const auto wide = Widen(entries[chosenNumber % entries.size()], TextEncoding::AnsiCodePage);
    return wide && wide->size() < kShaderIdUnits ? *wide : L"";
}

}  // namespace

void TryInput(std::string_view input) {
    chosenNumber = TakeByte(input) * 0x01010101U;
    const test::TempFile file(input);
    wchar_t id[kShaderIdUnits] = L"left over";
    const bool picked = PickShaderId(file.Path().c_str(), id, [] { return chosenNumber; });
    Require(id == ExpectedPick(Entries(std::string(input))), "the chosen entry is picked");
    Require(picked == (id[0] != L'\0'), "success means an identifier");
}

}  // namespace pixelforge::fuzz
