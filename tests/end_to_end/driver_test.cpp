// Return codes, conditions and output forms of the frame driver, as seen by the host.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>

#include "module/module_instance.h"
#include "tests/end_to_end/module_run.h"
#include "tests/end_to_end/temp_folder.h"
#include "tests/post/reference_kernels.h"

namespace pixelforge::test {
namespace {

const std::string kWhite = DocumentBuilder().Image(MainImage("c = vec4(1);")).Json();
const std::vector<Input> kReadsA = {{.channel = 0, .id = 257}};
/// The number of frames drawn, iFrame, and iTime in steps of the default speed.
const std::string kCounter =
    DocumentBuilder()
        .Buffer('A', MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x + 1.0);"), kReadsA)
        .Image(
            MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x, iFrame, iTime / 0.03, 255) / 255.0;"),
            kReadsA)
        .Json();

TEST(Driver, EveryExportRejectsNullRecords) {
    const preview::ModuleFunctions& module = Module().Functions();
    ModuleRun run(kWhite);
    EXPECT_EQ(module.getDescription(nullptr), 0);
    EXPECT_EQ(module.buildControlStructure(nullptr, nullptr, nullptr, nullptr), 0);
    for (const auto call : {module.preInitialize, module.initialize, module.drawFrame}) {
        EXPECT_EQ(call(nullptr, &run.Session().Context()), 0);
        EXPECT_EQ(call(run.Session().Instance(), nullptr), 0);
    }
    EXPECT_EQ(module.cleanUp(nullptr), 0);
    EXPECT_EQ(module.destroyControlStructure(nullptr), 0);
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
}

TEST(Driver, AHostWithoutAnAllocatorGetsAnInstanceWithDefaults) {
    const preview::ModuleFunctions& module = Module().Functions();
    ModuleInstance* instance = nullptr;
    ASSERT_EQ(module.buildControlStructure(&instance, nullptr, nullptr, nullptr), 1);
    DrawContext context = {};
    EXPECT_EQ(module.preInitialize(instance, &context), 1);
    EXPECT_EQ(module.initialize(instance, &context), 1);
    EXPECT_EQ(module.drawFrame(instance, &context), 0) << "no playlist";
    EXPECT_EQ(module.destroyControlStructure(instance), 1);
}

TEST(Driver, TheDescriptionFillsAnUninitialisedRecord) {
    ModuleDescription description;
    std::memset(static_cast<void*>(&description), 0xCD, sizeof(description));
    ASSERT_EQ(Module().Functions().getDescription(&description), 1);
    EXPECT_TRUE(std::ranges::equal(description.leading, std::array{1u, 0x18008u, 1u, 20000u}));
    EXPECT_EQ(description.trailing, 1u);
    EXPECT_STREQ(description.displayName, L"Pixelforge");
    EXPECT_STREQ(description.description, L"Runs Pixelforge shaders");
    const std::wstring build = description.buildText;  // "(REL) Nov  9 2024 @ 23:42:18"
    EXPECT_EQ(build.substr(0, 6) + build.substr(17, 3), L"(REL)  @ ");
    EXPECT_EQ(build.size(), 28u);
}

TEST(Driver, DrawingCanBeSwitchedOffAndOn) {
    ModuleRun run(kCounter);
    run.Session().Control("Draw Event")->toggle.value[1] = 0;
    EXPECT_EQ(run.Frames(3), FrameResult::NothingDrawn);
    EXPECT_EQ(run.Pixel(0, 0), 0u);
    EXPECT_EQ(run.Session().Instance()->color.stripeToggle, 0) << "nor do they advance the colours";
    run.Session().Control("Draw Event")->toggle.value[1] = 1;
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x010001u) << "skipped frames do not advance the shader";
}

TEST(Driver, WithoutABitmapFramesFailWithOneLine) {
    ModuleRun run(kWhite);
    run.Session().Context().bitmap = nullptr;
    EXPECT_EQ(run.Frames(3), FrameResult::Failed);
    EXPECT_EQ(run.Words(),
              "Pixelforge: cannot draw: the bitmap is missing, not 32-bit or not of the frame's size\n");
}

TEST(Driver, AResetIsRequestedImmediatelyAndThenOncePerInterval) {
    ModuleRun run(kCounter);
    EXPECT_EQ(run.Frames(3), FrameResult::Drawn);
    run.Session().Control("Reset Event")->toggle.value[1] = 1;
    const preview::ModuleFunctions& module = Module().Functions();
    ModuleInstance* instance = run.Session().Instance();
    EXPECT_EQ(module.drawFrame(instance, &run.Session().Context()), 2);
    EXPECT_EQ(module.drawFrame(instance, &run.Session().Context()), 1) << "five seconds have not passed";
    EXPECT_EQ(run.Pixel(0, 0), 0x040204u) << "without initialisation the old shader continues";
    instance->nextResetTick = 0;
    EXPECT_EQ(run.Frame(), FrameResult::ResetWanted);  // this host initialises again
    EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x020002u) << "a new load starts with cleared buffers";
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x030103u) << "iFrame is 0 twice";
}

TEST(Driver, TheErrorScreenIsWrittenInGreenOnBlack) {
    RunOptions options;
    options.width = 200;
    options.height = 50;
    ModuleRun run(kWhite, options);
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    run.Session().Instance()->errorFlag = 1;
    EXPECT_EQ(run.Frame(), FrameResult::NothingDrawn);
    int green = 0;
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 200; ++x) {
            const std::uint32_t pixel = run.Pixel(x, y);
            green += pixel == 0x1EFF3C;
            ASSERT_TRUE(pixel == 0 || (x >= 40 && y < 40)) << "text starts a fifth from the left and the top";
        }
    }
    EXPECT_GT(green, 50);
    run.Session().Initialize();
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << "initialisation clears the error state";
}

TEST(Driver, TheNoticeOffersAnInstalledEditor) {
    const TempFolder folder;
    Module();  // attaching to the process sets the variable
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", folder.Path().c_str());
    const auto notice = [] {
        ModuleRun run(kWhite);
        EXPECT_EQ(run.Frame(), FrameResult::Drawn);
        return preview::HostSession::InfoText();
    };
    std::filesystem::create_directory(folder.Path() / "GlowBench.exe");
    EXPECT_EQ(notice().find(L"GlowBench"), std::wstring::npos) << "a folder is not an editor";
    std::filesystem::remove(folder.Path() / "GlowBench.exe");
    std::string link = "file://" + folder.Write("GlowBench.exe", "editor") + "?tEsT01";
    std::replace(link.begin(), link.end(), '\\', '/');
    EXPECT_NE(notice().find(std::wstring(link.begin(), link.end())), std::wstring::npos)
        << "forward slashes, then the identifier";
    EXPECT_EQ(preview::HostSession::InfoText(), L"") << "clean-up clears it";
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", nullptr);
}

using Pixels = std::vector<std::uint32_t>;
/// Applies a plain frame to the host's picture; both start with the lowest row.
using Form = std::function<void(const Pixels& frame, Pixels& host)>;

Form Tiles(std::int32_t x, std::int32_t y, std::int32_t mirrored) {
    return [=](const Pixels& frame, Pixels& host) {
        reference::TileRemap({host.data(), 32, 24}, {frame.data(), 32, 24}, {32, 24, x, y, mirrored});
    };
}

Form Levels(std::int32_t foregroundOnly) {
    return [=](const Pixels& frame, Pixels& host) {
        reference::LevelCopy(frame.data(), host.data(), 32 * 24, 3, foregroundOnly);
    };
}

TEST(Driver, EveryOutputFormMatchesItsFormula) {
    const Form plain = [](const Pixels& frame, Pixels& host) { host = frame; };
    const Form nothing = [](const Pixels&, Pixels&) {};
    const Form foreground = [](const Pixels& frame, Pixels& host) {
        reference::ForegroundCopy(frame.data(), host.data(), 32 * 24);
    };
    const struct {
        const char* what;
        std::int32_t ownBitmap, levels;  ///< the host's levelOutput at pre-initialisation and at the frame
        std::vector<preview::ControlSetting> settings;
        Form form;
    } cases[] = {
        {"direct, where the control has no effect", 0, 0, {{"Foreground Only", "1"}}, plain},
        {"left in the module's bitmap", 1, 0, {}, nothing},
        {"foreground", 1, 0, {{"Foreground Only", "1"}}, foreground},
        {"levels", 1, 1, {}, Levels(0)},
        {"levels of the foreground", 1, 1, {{"Foreground Only", "1"}}, Levels(1)},
        {"tiles", 1, 0, {{"X Tiling", "3"}, {"Y Tiling", "2"}, {"Mirroring", "0"}}, Tiles(3, 2, 0)},
        {"mirrored tiles", 1, 0, {{"X Tiling", "2"}, {"Mirroring", "1"}}, Tiles(2, 1, 1)},
    };
    // Black on the left; elsewhere each pixel encodes its position.
    const std::string code = MainImage("c = p.x < 9.0 ? vec4(0) : vec4(floor(p), 7, 255) / 255.0;");
    Pixels frame(32 * 24);
    for (std::uint32_t i = 0; i < frame.size(); ++i) {
        frame[i] = i % 32 < 9 ? 0 : 0xFF000007 | i % 32 << 16 | i / 32 << 8;
    }
    for (const auto& each : cases) {
        RunOptions options;
        options.levelDivisor = 3;
        options.levelOutput = each.ownBitmap;
        options.settings = each.settings;
        ModuleRun run(DocumentBuilder().Image(code).Json(), options);
        run.Session().Context().levelOutput = each.levels;
        const std::span<const std::uint8_t> bytes = run.Session().Pixels().bytes;
        auto* host = reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(bytes.data()));
        Pixels expected(32 * 24, 0x123456);
        std::copy(expected.begin(), expected.end(), host);
        each.form(frame, expected);
        EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        EXPECT_EQ(Pixels(host, host + 32 * 24), expected) << each.what;
    }
}

}  // namespace
}  // namespace pixelforge::test
