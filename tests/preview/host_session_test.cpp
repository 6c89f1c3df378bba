// The host's call order, against a module that writes down how it is called.
#include "preview/host_session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "preview/frame_run.h"
#include "preview/host_error.h"

namespace pixelforge::preview {
namespace {

using namespace std::string_view_literals;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::SizeIs;

/// What the module below was asked and is to answer.
struct Script {
    std::vector<std::string> calls;
    std::vector<FrameResult> results;  ///< one for each frame; `Drawn` behind the last
    std::size_t frames = 0;
    std::array<ControlRecord*, 2> controls{};
    int instance = 0;
};

Script script;

ModuleInstance* InstanceOf(Script& owner) {
    return reinterpret_cast<ModuleInstance*>(&owner.instance);
}

std::int32_t Note(ModuleInstance* instance, const char* call) {
    script.calls.emplace_back(instance == InstanceOf(script) ? call : "wrong instance");
    return 1;
}

std::int32_t Build(ModuleInstance** instance, void*, AllocateControl allocate, void* hostContext) {
    *instance = InstanceOf(script);
    const std::wstring_view names[] = {L"General\0Playlist File(s)\0\0"sv, L"General\0Mirroring\0\0"sv};
    for (std::size_t i = 0; i < 2; ++i) {
        script.controls[i] = allocate(hostContext);
        std::ranges::copy(names[i], script.controls[i]->names);
    }
    script.controls[0]->kind = ControlKind::FileList;
    script.controls[0]->files.fileName[0] = L'\0';
    script.controls[1]->kind = ControlKind::Switch;
    script.controls[1]->toggle = {{0.5f, 0.5f}, {1, 1}};
    return Note(*instance, "build");
}

std::int32_t Draw(ModuleInstance* instance, DrawContext* context) {
    Note(instance, "draw");
    RECT client{};
    GetClientRect(context->window, &client);
    if (client.right != context->width || client.bottom != context->height) {
        script.calls.emplace_back("the window differs from the frame");
    }
    const std::size_t frame = script.frames++;
    return static_cast<std::int32_t>(frame < script.results.size() ? script.results[frame]
                                                                   : FrameResult::Drawn);
}

const ModuleFunctions kModule = {
    .getDescription = [](ModuleDescription*) { return Note(InstanceOf(script), "describe"); },
    .buildControlStructure = Build,
    .preInitialize = [](ModuleInstance* i, DrawContext*) { return Note(i, "pre-initialize"); },
    .initialize = [](ModuleInstance* i, DrawContext*) { return Note(i, "initialize"); },
    .drawFrame = Draw,
    .cleanUp = [](ModuleInstance* i) { return Note(i, "clean up"); },
    .destroyControlStructure = [](ModuleInstance* i) { return Note(i, "destroy"); }};

class HostSessionTest : public testing::Test {
protected:
    HostSessionTest() { script = {}; }

    SessionOptions options{.width = 20, .height = 10, .playlistName = "a.playlist", .settings = {}};
};

TEST_F(HostSessionTest, InitializesAgainWhenAskedTo) {
    script.results = {FrameResult::ResetWanted};
    HostSession session(kModule, options);
    session.Open();
    script.calls.clear();
    EXPECT_EQ(session.DrawFrame(), FrameResult::ResetWanted);
    EXPECT_EQ(session.DrawFrame(), FrameResult::Drawn);
    EXPECT_THAT(script.calls, ElementsAre("draw", "initialize", "draw"));
}

TEST_F(HostSessionTest, DestroysTheInstanceWhenASettingIsWrong) {
    options.settings = {{"Mirroring", "sideways"}};
    {
        HostSession session(kModule, options);
        EXPECT_THROW(session.Open(), HostError);
    }
    EXPECT_THAT(script.calls, ElementsAre("describe", "build", "clean up", "destroy"));
}

TEST_F(HostSessionTest, GivesUpOnAModuleThatNeverDraws) {
    script.results.assign(10, FrameResult::Failed);
    HostSession session(kModule, options);
    session.Open();
    const auto frames = RunFrames(session, {.frames = 10});
    EXPECT_THAT(frames, SizeIs(kHopelessFailures));
    EXPECT_THAT(frames, Each(Field(&FrameRecord::loading, true)));
}

TEST_F(HostSessionTest, GoesOnWhenItDrewBefore) {
    using enum FrameResult;
    script.results = {Failed, Failed, Drawn, Failed, Failed, Failed, Failed, ResetWanted, Drawn, Drawn};
    HostSession session(kModule, options);
    session.Open();
    const auto frames = RunFrames(session, {.frames = 10, .checksums = true});
    ASSERT_THAT(frames, SizeIs(10));
    std::vector<std::size_t> loads;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].result, script.results[i]) << i;
        if (frames[i].loading) {
            loads.push_back(i);
        }
    }
    EXPECT_THAT(loads, ElementsAre(0, 1, 2, 8));
    EXPECT_EQ(frames[9].crc32, Crc32(std::vector<std::uint8_t>(20 * 10 * 4)));
}

}  // namespace
}  // namespace pixelforge::preview
