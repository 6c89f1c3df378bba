// Hundreds of loads of a document with every kind of input: its media may not pile up.
#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>
#include <strmif.h>
#include <uuids.h>
#include <wrl/client.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/end_to_end/module_run.h"
#include "tests/long/process_usage.h"

namespace pixelforge::test {
namespace {

const std::filesystem::path kExamples = PIXELFORGE_SOURCE_DIR "/examples";

std::string ExampleText(const char* name) {
    std::ifstream file(kExamples / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The examples name their media from their own folder.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~CurrentFolder() { std::filesystem::current_path(before_); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

/// A webcam channel makes a filter graph at each load, and some systems keep a handle of every graph.
std::int64_t HandlesThatTheSystemKeepsOf(int graphs) {
    const auto makeGraphs = [](int count) {
        for (int i = 0; i < count; ++i) {
            Microsoft::WRL::ComPtr<IGraphBuilder> graph;
            CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&graph));
        }
    };
    makeGraphs(3);
    const ProcessUsage before = MeasureUsage();
    makeGraphs(graphs);
    return MeasureUsage().handles - before.handles;
}

TEST(MediaSoak, TwoHundredLoadsOfEveryKindOfInputLeaveNothingBehind) {
    constexpr int kWarmUp = 15;
    constexpr int kLoads = 200;
    const CurrentFolder folder(kExamples);
    const std::string document = ExampleText("kinds.json");
    const auto load = [&document] {
        ModuleRun run(document);
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    };
    for (int i = 0; i < kWarmUp; ++i) {
        ASSERT_NO_FATAL_FAILURE(load());
    }
    const ProcessUsage before = MeasureUsage();
    for (int i = 0; i < kLoads; ++i) {
        ASSERT_NO_FATAL_FAILURE(load());
    }
    const ProcessUsage after = MeasureUsage();
    std::printf("before: %s\nafter:  %s\n", Describe(before).c_str(), Describe(after).c_str());
    // One load's pictures take 800 KB.
    EXPECT_LE(after.kilobytes - before.kilobytes, 8 * 1024);
    EXPECT_LE(after.handles - before.handles, HandlesThatTheSystemKeepsOf(kLoads) + 4);
    EXPECT_LE(after.gdiObjects - before.gdiObjects, 16);
}

}  // namespace
}  // namespace pixelforge::test
