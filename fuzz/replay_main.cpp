// Runs a fuzz target once on every file of the given folders; a broken promise ends the program.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/fuzz_input.h"

namespace {

void Replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    std::fprintf(stderr, "%s\n", file.c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

/// Usage: NAME_fuzz FOLDER... Folders that do not exist count as empty; no file at all is a failure.
int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i], missing)) {
            Replay(entry.path());
            ++files;
        }
    }
    std::printf("%d inputs replayed\n", files);
    return files > 0 ? 0 : 1;
}
