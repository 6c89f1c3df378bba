// The pick from a playlist against a reading of its own.
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "fuzz/fuzz_input.h"
#include "module/playlist.h"

namespace pixelforge::fuzz {
namespace {

std::uint32_t chosenNumber = 0;

/// A file in memory with a path.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) : descriptor_(memfd_create("playlist", 0)) {
        const auto size = static_cast<ssize_t>(bytes.size());
        Require(write(descriptor_, bytes.data(), bytes.size()) == size, "the file can be written");
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::wstring Path() const { return L"/proc/self/fd/" + std::to_wstring(descriptor_); }

private:
    int descriptor_;
};

/// Runs of characters between line ends, which empty lines make no difference to.
std::vector<std::string> Entries(std::string_view text) {
    std::vector<std::string> entries;
    std::string entry;
    for (const char c : text.substr(0, text.find('\0'))) {
        if (c != '\n' && c != '\r') {
            entry += c;
        } else if (!entry.empty()) {
            entries.push_back(entry);
            entry.clear();
        }
    }
    return entries;
}

std::wstring ExpectedPick(std::string_view text) {
    const std::vector<std::string> entries = Entries(text);
    if (entries.empty()) {
        return L"";
    }
    const auto wide = Widen(entries[chosenNumber % entries.size()], TextEncoding::AnsiCodePage);
    return wide && wide->size() < kShaderIdUnits ? *wide : L"";
}

}  // namespace
}  // namespace pixelforge::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pixelforge;
    fuzz::InputReader input(data, size);
    fuzz::chosenNumber = input.Byte() * 0x01010101U;
    const fuzz::MemoryFile file(input.Rest());
    wchar_t id[kShaderIdUnits] = L"left over";
    const bool picked = PickShaderId(file.Path().c_str(), id, [] { return fuzz::chosenNumber; });
    fuzz::Require(id == fuzz::ExpectedPick(input.Rest()), "the chosen entry is picked");
    fuzz::Require(picked == (id[0] != L'\0'), "success means an identifier");
    return 0;
}
