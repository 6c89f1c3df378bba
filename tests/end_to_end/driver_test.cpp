// Return codes, conditions and output forms of the frame driver, seen from the host's side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "module/module_instance.h"
#include "tests/end_to_end/module_run.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;

const std::string kWhite = DocumentBuilder().Image(MainImage("c = vec4(1);")).Json();
/// Counts frames from 1 in the red level.
const std::string kCounter =
    DocumentBuilder()
        .Buffer('A', MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x + 1.0);"),
                {{.channel = 0, .id = 257}})
        .Image(MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x / 255.0, 0, 0, 1);"),
               {{.channel = 0, .id = 257}})
        .Json();

TEST(Driver, NullRecordsAreRefusedByEveryExport) {
    const preview::ModuleFunctions& module = Module().Functions();
    ModuleRun run(kWhite);
    ModuleInstance* instance = run.Session().Instance();
    DrawContext* context = &run.Session().Context();
    EXPECT_EQ(module.getDescription(nullptr), 0);
    EXPECT_EQ(module.buildControlStructure(nullptr, nullptr, nullptr, nullptr), 0);
    for (const auto call : {module.preInitialize, module.initialize, module.drawFrame}) {
        EXPECT_EQ(call(nullptr, context), 0);
        EXPECT_EQ(call(instance, nullptr), 0);
    }
    EXPECT_EQ(module.cleanUp(nullptr), 0);
    EXPECT_EQ(module.destroyControlStructure(nullptr), 0);
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
}

TEST(Driver, AHostWithoutAllocatingFunctionGetsAnInstanceWithDefaults) {
    const preview::ModuleFunctions& module = Module().Functions();
    ModuleInstance* instance = nullptr;
    ASSERT_EQ(module.buildControlStructure(&instance, nullptr, nullptr, nullptr), 1);
    DrawContext context{};
    EXPECT_EQ(module.preInitialize(instance, &context), 1);
    EXPECT_EQ(module.initialize(instance, &context), 1);
    EXPECT_EQ(module.drawFrame(instance, &context), 0) << "no playlist";
    EXPECT_EQ(module.destroyControlStructure(instance), 1);
}

TEST(Driver, TheDescriptionIsTheModulesOwn) {
    ModuleDescription description;
    std::memset(static_cast<void*>(&description), 0xCD, sizeof(description));
    ASSERT_EQ(Module().Functions().getDescription(&description), 1);
    EXPECT_THAT(description.leading, testing::ElementsAre(1u, 98312u, 1u, 20000u));
    EXPECT_STREQ(description.displayName, L"Pixelforge");
    EXPECT_STREQ(description.description, L"Runs Pixelforge shaders");
    EXPECT_EQ(description.trailing, 1u);
    const std::wstring build = description.buildText;  // "(REL) Nov  9 2024 @ 23:42:18"
    EXPECT_EQ(build.substr(0, 6) + build.substr(17, 3), L"(REL)  @ ");
    EXPECT_EQ(build.size(), 28u);
}

TEST(Driver, WithoutAPlaylistNothingLoads) {
    ModuleRun run(kWhite);
    run.Session().Control("Playlist File(s)")->files.fileName[0] = L'\0';
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_THAT(run.Words(), HasSubstr("no playlist"));
    preview::WriteControlValue(*run.Session().Control("Playlist File(s)"), "missing.playlist");
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_THAT(run.Words(), HasSubstr("missing.playlist"));
}

TEST(Driver, DrawingCanBeSwitchedOffAndOn) {
    ModuleRun run(kCounter);
    run.Session().Control("Draw Event")->toggle.value[1] = 0;
    EXPECT_EQ(run.Frames(2), FrameResult::NothingDrawn);
    EXPECT_EQ(run.Pixel(0, 0), 0u);
    run.Session().Control("Draw Event")->toggle.value[1] = 1;
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x010000u) << "frames that were not drawn did not advance the shader";
}

TEST(Driver, AResetIsAskedForAtOnceAndThenNotBeforeTheInterval) {
    ModuleRun run(kCounter);
    EXPECT_EQ(run.Frames(3), FrameResult::Drawn);
    ControlRecord* reset = run.Session().Control("Reset Event");
    reset->toggle.value[1] = 1;
    const preview::ModuleFunctions& module = Module().Functions();
    ModuleInstance* instance = run.Session().Instance();
    EXPECT_EQ(module.drawFrame(instance, &run.Session().Context()), 2);
    EXPECT_EQ(module.drawFrame(instance, &run.Session().Context()), 1) << "five seconds have not passed";
    EXPECT_EQ(run.Pixel(0, 0), 0x040000u) << "without initialisation the old shader goes on";
    instance->nextResetTick = 0;
    EXPECT_EQ(run.Frame(), FrameResult::ResetWanted);  // this host initialises again
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x010000u) << "a new load begins with cleared buffers";
}

TEST(Driver, TheErrorScreenIsWrittenInGreenOnBlack) {
    RunOptions options;
    options.width = 200;
    options.height = 50;
    ModuleRun run(kWhite, options);
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    run.Session().Instance()->errorFlag = 1;
    EXPECT_EQ(run.Frame(), FrameResult::NothingDrawn);
    std::map<std::uint32_t, int> colours;
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 200; ++x) {
            const std::uint32_t pixel = run.Pixel(x, y);
            ++colours[pixel];
            if (x < 40 || y >= 40) {
                ASSERT_EQ(pixel, 0u) << "text begins a fifth from the left and the top";
            }
        }
    }
    EXPECT_GT(colours[0x1EFF3C], 50) << "text colour 30, 255, 60";
    run.Session().Reset();
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << "initialisation leaves the error state";
}

TEST(Driver, TheNoticeReachesTheHostAndOffersAnInstalledEditor) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("pixelforge-editor-" + std::to_string(GetCurrentProcessId()));
    std::filesystem::create_directories(folder / "GlowBench.exe");
    Module();  // attaching to the process sets the variable
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", folder.c_str());
    const auto notice = [] {
        ModuleRun run(kWhite);
        EXPECT_EQ(run.Frame(), FrameResult::Drawn);
        return preview::HostSession::InfoText();
    };
    EXPECT_EQ(notice().find(L"GlowBench"), std::wstring::npos) << "a folder is no editor";
    std::filesystem::remove(folder / "GlowBench.exe");
    std::ofstream(folder / "GlowBench.exe") << "editor";
    std::wstring link = L"file://" + (folder / "GlowBench.exe?tEsT01").wstring();
    std::replace(link.begin(), link.end(), L'\\', L'/');
    EXPECT_NE(notice().find(link), std::wstring::npos) << "forward slashes, then the identifier";
    EXPECT_EQ(preview::HostSession::InfoText(), L"") << "clean-up has cleared it";
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", nullptr);
    std::filesystem::remove_all(folder);
}

TEST(Driver, ABitmapOfAnotherSizeIsNotTouched) {
    ModuleRun run(kWhite);
    preview::HostSurface narrow(31, 24);
    run.Session().Context().bitmap = narrow.Bitmap();
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    for (const std::uint8_t byte : narrow.Pixels().bytes)
        ASSERT_EQ(byte, 0);
    run.Session().Context().bitmap = nullptr;
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
}

/// The left half is black, the right one white with the column in blue.
const std::string kHalf =
    DocumentBuilder()
        .Image(MainImage("c = p.x < 16.0 ? vec4(0) : vec4(1, 1, floor(p.x) / 255.0, 1);"))
        .Json();

TEST(Driver, FramesArriveWholeAsForegroundLevelsOrNotAtAll) {
    constexpr std::uint32_t kHost = 0x123456;
    const struct {
        const char* what;
        std::int32_t offscreen;
        std::int32_t levelAtFrames;
        const char* foregroundOnly;
        std::uint32_t left, right;  ///< pixels at columns 3 and 20
    } cases[] = {
        {"direct, where the switch has no effect", 0, 0, "1", 0, 0xFFFF14},
        {"kept in the own bitmap", 1, 0, "0", kHost, kHost},
        {"foreground", 1, 0, "1", kHost, 0xFFFF14},
        {"levels", 1, 1, "0", 0, (255 + 255 + 20) / 3},
        {"levels of the foreground", 1, 1, "1", kHost, (255 + 255 + 20) / 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        RunOptions options;
        options.levelDivisor = 3;
        options.levelOutput = c.offscreen;
        options.settings = {{"Foreground Only", c.foregroundOnly}};
        ModuleRun run(kHalf, options);
        run.Session().Context().levelOutput = c.levelAtFrames;
        const std::span<const std::uint8_t> bytes = run.Session().Pixels().bytes;
        auto* host = reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(bytes.data()));
        std::fill(host, host + 32 * 24, kHost);
        EXPECT_EQ(run.Frame(), FrameResult::Drawn);
        EXPECT_EQ(run.Pixel(3, 5), c.left);
        EXPECT_EQ(run.Pixel(20, 5), c.right);
    }
}

TEST(Driver, TilesShowTheOwnBitmapWhenMoreThanOneIsAskedFor) {
    RunOptions options;
    options.levelOutput = 1;
    options.settings = {{"X Tiling", "2"}, {"Mirroring", "1"}};
    ModuleRun run(kHalf, options);
    run.Session().Context().levelOutput = 0;
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(3, 5), 0u);
    EXPECT_EQ(run.Pixel(12, 5), 0xFFFF18u) << "column 24 at half the width";
    EXPECT_EQ(run.Pixel(28, 5), 0u) << "the right tile is mirrored";
}

}  // namespace
}  // namespace pixelforge::test
