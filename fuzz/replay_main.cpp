// Runs a fuzz target once on every file of a folder; aborts on a violated property.
#include <cstdio>

#include "fuzz/fuzz_input.h"
#include "tests/support/temp_file.h"

/// Usage: NAME_fuzz FOLDER. Fails if there is no file.
int main(int count, char** arguments) {
    int files = 0;
    for (const auto& file : std::filesystem::directory_iterator(count == 2 ? arguments[1] : "")) {
        std::fprintf(stderr, "%s\n", file.path().c_str());
        const std::string input = pixelforge::test::ContentOf(file.path());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        ++files;
    }
    std::printf("%d inputs replayed\n", files);
    return files > 0 ? 0 : 1;
}
