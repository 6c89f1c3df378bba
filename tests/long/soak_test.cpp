// Hundreds of loads in one process must not leak what the end-to-end census of the module's calls misses.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/end_to_end/module_run.h"
#include "tests/support/process_census.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

/// The pictures of one load occupy 800 KB. Some systems leak handles with each camera that is opened.
TEST(Soak, FiveHundredLoadsOfEveryInputKindButTheCameraDoNotLeak) {
    // Media paths in the examples are relative to their folder.
    std::filesystem::current_path(PIXELFORGE_SOURCE_DIR "/examples");
    const std::string document = std::regex_replace(
        ContentOf("kinds.json"), std::regex("\"ctype\": \"webcam\""), "\"ctype\": \"mic\"");
    std::size_t handles = 0;
    std::size_t bytes = 0;
    for (int load = 0; load < 500; ++load) {
        if (load == 50) {
            handles = OpenHandles();
            bytes = WorkingSetBytes();
        }
        const bool fails = load % 5 == 4;
        ModuleRun run(fails ? ImageDocument("no GLSL at all") : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    }
    EXPECT_LE(OpenHandles(), handles + 4);
    EXPECT_LE(WorkingSetBytes(), bytes + (8U << 20));
}

}  // namespace
}  // namespace pixelforge::test
