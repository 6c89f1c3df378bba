// The host's call order, against a module that records its calls.
#include "preview/host/host_session.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "module/controls.h"
#include "module/module_instance.h"
#include "preview/frame_run.h"

namespace pixelforge::preview {
namespace {

using enum FrameResult;
using testing::ElementsAre;

std::vector<std::string> calls;
std::vector<FrameResult> results;  ///< one per call of "draw"; `Drawn` after the last

std::int32_t Record(const char* call) {
    calls.emplace_back(call);
    return 1;
}

std::int32_t Build(ModuleInstance** instance, void*, AllocateControl allocate, void* hostContext) {
    static ModuleInstance controlled;
    *instance = &controlled;
    BuildControls(controlled, allocate, hostContext);
    return Record("build");
}

std::int32_t Draw(ModuleInstance*, DrawContext* context) {
    RECT client = {};
    GetClientRect(context->window, &client);
    const bool fits = client.right == context->width && client.bottom == context->height;
    const auto frame = static_cast<std::size_t>(std::ranges::count(calls, "draw"));
    Record(fits ? "draw" : "draw in a window of another size");
    return static_cast<std::int32_t>(frame < results.size() ? results[frame] : Drawn);
}

const ModuleFunctions kModule = {
    .getDescription = [](ModuleDescription*) { return Record("describe"); },
    .buildControlStructure = Build,
    .preInitialize = [](ModuleInstance*, DrawContext*) { return Record("pre-initialize"); },
    .initialize = [](ModuleInstance*, DrawContext*) { return Record("initialize"); },
    .drawFrame = Draw,
    .cleanUp = [](ModuleInstance*) { return Record("clean up"); },
    .destroyControlStructure = [](ModuleInstance*) { return Record("destroy"); }};

/// Runs a session whose frames have the given results.
std::vector<FrameRecord> RunScript(std::vector<FrameResult> script, const FrameRunOptions& frames) {
    calls.clear();
    results = std::move(script);
    HostSession session(kModule, {.width = 20, .height = 10, .playlistName = "a.playlist", .settings = {}});
    session.Open();
    return RunFrames(session, frames);
}

TEST(HostSessionTest, InitializesAgainWhenTheModuleRequestsAReset) {
    RunScript({ResetWanted}, {.frames = 2});
    EXPECT_THAT(calls, ElementsAre("describe", "build", "pre-initialize", "initialize", "draw", "initialize",
                                   "draw", "clean up", "destroy"));
}

TEST(HostSessionTest, PreInitializesAgainWhenTheWindowIsResized) {
    EventPlayer events({{1, EventKind::Resize, 30, 15}});
    const auto frames = RunScript({}, {.frames = 3, .checksums = true, .events = &events});
    EXPECT_THAT(calls, ElementsAre("describe", "build", "pre-initialize", "initialize", "draw",
                                   "pre-initialize", "initialize", "draw", "draw", "clean up", "destroy"));
    EXPECT_EQ(frames[2].crc32, Crc32(std::vector<std::uint8_t>(30 * 15 * 4)));
}

TEST(HostSessionTest, StopsAfterInitialFailuresAndMarksLoadingFrames) {
    EXPECT_EQ(RunScript({Failed, Failed, Failed}, {.frames = 10}).size(), kMaxInitialFailures);
    const std::vector<FrameResult> script = {Failed, Failed, Drawn,       Failed, Failed,
                                             Failed, Failed, ResetWanted, Drawn,  Drawn};
    const auto frames = RunScript(script, {.frames = 10});
    ASSERT_EQ(frames.size(), 10u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].result, script[i]) << i;
        EXPECT_EQ(frames[i].loading, i < 3 || i == 8) << i;
    }
}

}  // namespace
}  // namespace pixelforge::preview
