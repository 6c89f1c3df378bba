// Runs a fuzz target once on every file of the given folders; aborts on a violated property.
#include <cstdio>

#include "fuzz/fuzz_input.h"
#include "tests/support/temp_file.h"

/// Usage: NAME_fuzz FOLDER... Missing folders count as empty; fails if there is no file at all.
int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        std::error_code missing;
        for (const auto& file : std::filesystem::directory_iterator(argv[i], missing)) {
            std::fprintf(stderr, "%s\n", file.path().c_str());
            pixelforge::fuzz::TryInput(pixelforge::test::ContentOf(file.path()));
            ++files;
        }
    }
    std::printf("%d inputs replayed\n", files);
    return files > 0 ? 0 : 1;
}
