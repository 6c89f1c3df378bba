// The frame driver as the host sees it: results, conditions, output forms, documents that draw and that fail.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "module/module_instance.h"
#include "tests/post/reference_kernels.h"
#include "tests/support/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;

const std::string kWhite = ImageDocument("c = vec4(1);");
/// The number of frames drawn, iFrame, and iTime in steps of the default speed.
const std::string kCounter =
    DocumentBuilder()
        .Buffer('A', MainImage("c = vec4(texture(iChannel0, p).x + 1.0);"), {{}})
        .Image(MainImage("c = vec4(texture(iChannel0, p).x, iFrame, iTime / 0.03, 255) / 255.;"), {{}})
        .Json();

TEST(Driver, EveryExportRejectsNullRecordsAndAHostNeedNotAllocateControls) {
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
    ModuleInstance* instance = nullptr;
    const AllocateControl throwing = [](void*) -> ControlRecord* { throw std::bad_alloc(); };
    EXPECT_EQ(module.buildControlStructure(&instance, nullptr, throwing, nullptr), 0);
    EXPECT_EQ(instance, nullptr);
    ASSERT_EQ(module.buildControlStructure(&instance, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(module.drawFrame(instance, &run.Session().Context()), 0) << "it is not initialised";
    EXPECT_EQ(module.destroyControlStructure(instance), 1);
}

TEST(Driver, TheDescriptionFillsAnUninitialisedRecord) {
    ModuleDescription description;
    std::memset(static_cast<void*>(&description), 0xCD, sizeof(description));
    ASSERT_EQ(Module().Functions().getDescription(&description), 1);
    EXPECT_THAT(description.leading, testing::ElementsAre(1u, 0x18008u, 1u, 20000u));
    EXPECT_EQ(description.trailing, 1u);
    EXPECT_STREQ(description.displayName, L"Pixelforge");
    EXPECT_STREQ(description.description, L"Runs Pixelforge shaders");
    const std::wstring build = description.buildText;  // "(REL) Nov  9 2024 @ 23:42:18"
    EXPECT_EQ(build.substr(0, 6) + build.substr(17, 3), L"(REL)  @ ");
    EXPECT_EQ(build.size(), 28u);
}

bool garbled = false;

/// Debuggers read narrow output in the code page, not as UTF-8.
LONG CALLBACK FindNarrowUtf8(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& raised = *pointers->ExceptionRecord;
    const auto* text = reinterpret_cast<const char*>(raised.ExceptionInformation[1]);
    garbled |= raised.ExceptionCode == 0x40010006 && std::strchr(text, '\xC3');
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST(Driver, WithoutAPlaylistFramesFailWithALineForDebuggers) {
    const std::string missing = "no such playlist: D:\\Moonreel\\Pixelforge\\Playlists\\";
    const std::pair<std::wstring, std::string> cases[] = {
        {L"", "no playlist is selected"},
        {L"\u00E4", missing + "\xC3\xA4"},
        {std::wstring(226, L'x'), missing + std::string(226, 'x')},
        {std::wstring(227, L'x'), "the playlist's path is too long: "}};
    for (const auto& [name, words] : cases) {
        ModuleRun run(kWhite);
        void* const handler = AddVectoredExceptionHandler(1, FindNarrowUtf8);  // before the run's own
        auto& selected = run.Session().Control("Playlist File(s)")->files.fileName;
        const std::wstring usable = selected;
        CopyCut(selected, name);
        EXPECT_EQ(run.Frames(2), FrameResult::Failed);
        EXPECT_THAT(run.Words(), HasSubstr(words));
        EXPECT_FALSE(garbled);
        CopyCut(selected, usable);
        run.Session().Context().height = 0;
        EXPECT_EQ(run.Frame(), FrameResult::Failed) << "a frame without pixels";
        EXPECT_THAT(run.Words(), HasSubstr("the host's frame has no pixels"));
        run.Session().Context().height = 24;
        EXPECT_EQ(run.Frame(), FrameResult::Drawn) << "the load is retried";
        RemoveVectoredExceptionHandler(handler);
    }
}

TEST(Driver, ObeysDrawEventsAndRequestsAResetImmediatelyAndThenOncePerInterval) {
    ModuleRun run(kCounter);
    run.Session().Control("Draw Event")->toggle.value[1] = 0;
    EXPECT_EQ(run.Frames(3), FrameResult::NothingDrawn);
    EXPECT_EQ(run.Session().Instance()->color.stripeToggle, 0) << "nor do they advance the colours";
    run.Session().Control("Draw Event")->toggle.value[1] = 1;
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x010001u) << "skipped frames do not advance the shader";
    EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
    run.Session().Control("Reset Event")->toggle.value[1] = 1;
    const auto draw = Module().Functions().drawFrame;
    ModuleInstance* instance = run.Session().Instance();
    EXPECT_EQ(draw(instance, &run.Session().Context()), 2);
    EXPECT_EQ(draw(instance, &run.Session().Context()), 1) << "five seconds have not passed";
    EXPECT_EQ(run.Pixel(0, 0), 0x040204u) << "without initialisation the old shader continues";
    instance->nextResetTick = 0;
    EXPECT_EQ(run.Frame(), FrameResult::ResetWanted);  // this host initialises again
    EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x020002u) << "a new load starts with cleared buffers";
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(0, 0), 0x030103u) << "iFrame is 0 twice";
}

TEST(Driver, TheErrorScreenIsWrittenInGreenOnBlack) {
    DrawnRun run("c = vec4(1);", {}, {.width = 200, .height = 50});
    run.Session().Instance()->errorFlag = 1;
    EXPECT_EQ(run.Frame(), FrameResult::NothingDrawn);
    const preview::HostSurface expected(200, 50);
    const GdiSelection selection(expected.DeviceContext(), expected.Bitmap());
    SetTextColor(expected.DeviceContext(), RGB(30, 255, 60));
    SetBkColor(expected.DeviceContext(), 0);
    TextOutW(expected.DeviceContext(), 200 / 5, 50 / 5, L"Shader Error", 12);
    GdiFlush();
    EXPECT_TRUE(std::ranges::equal(run.Session().Pixels().bytes, expected.Pixels().bytes));
    Module().Functions().preInitialize(run.Session().Instance(), &run.Session().Context());
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << "pre-initialisation clears the error state";
}

TEST(Driver, TheNoticeOffersAnInstalledEditor) {
    const TempFolder folder;
    Module();  // attaching to the process sets the variable
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", folder.Path().c_str());
    const auto editor = folder.Path() / "GlowBench.exe";
    std::string link = "file://" + editor.generic_string() + "?tEsT01";
    std::filesystem::create_directory(editor);  // at first instead of the file
    for (const bool installed : {false, true}) {
        folder.Write("GlowBench.exe", "editor");
        DrawnRun run("c = vec4(1);");
        EXPECT_EQ(ToUtf8(preview::HostSession::InfoText()).find(link) != link.npos, installed);
        run.Session().Close();
        EXPECT_EQ(preview::HostSession::InfoText(), L"") << "clean-up clears it";
        std::filesystem::remove(editor);
    }
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", nullptr);
}

TEST(Driver, EveryOutputFormMatchesItsFormula) {
    // Black on the left; elsewhere each pixel encodes its position.
    const std::string document = ImageDocument("c = p.x < 9.0 ? vec4(0) : vec4(floor(p), 7, 255) / 255.0;");
    std::vector<std::uint32_t> frame(32 * 24);
    for (std::uint32_t i = 0; i < frame.size(); ++i) {
        frame[i] = i % 32 < 9 ? 0 : 0xFF000007 | i % 32 << 16 | i / 32 << 8;
    }
    constexpr std::int32_t kTilings[][3] = {{1, 1, 1}, {3, 1, 0}, {1, 2, 1}};
    for (int form = 0; form < 24; ++form) {
        const bool own = form & 1;  // through the module's own bitmap
        const bool levels = form & 2;
        const bool foreground = form & 4;
        const auto& [columns, rows, mirrored] = kTilings[form / 8];
        ModuleRun run(document, {.settings = {{"Foreground Only", foreground ? "1" : "0"},
                                              {"X Tiling", std::to_string(columns)},
                                              {"Y Tiling", std::to_string(rows)},
                                              {"Mirroring", std::to_string(mirrored)}},
                                 .levelDivisor = 3,
                                 .levelOutput = !own});
        DrawContext& context = run.Session().Context();
        context.levelOutput = own;
        Module().Functions().preInitialize(run.Session().Instance(), &context);
        context.levelOutput = levels;
        const std::span<const std::uint8_t> bytes = run.Session().Pixels().bytes;
        auto* host = reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(bytes.data()));
        std::vector<std::uint32_t> expected(32 * 24, 0x123456);
        std::copy(expected.begin(), expected.end(), host);
        if (columns + rows > 2) {
            const std::vector<std::uint32_t> unused(32 * 24);  // the module's bitmap is black
            reference::TileRemap({expected.data(), 32, 24}, {(own ? frame : unused).data(), 32, 24},
                                 {32, 24, columns, rows, mirrored});
        } else if (!own) {
            expected = frame;
        } else if (levels) {
            reference::LevelCopy(frame.data(), expected.data(), 32 * 24, 3, foreground);
        } else if (foreground) {
            reference::ForegroundCopy(frame.data(), expected.data(), 32 * 24);
        }
        EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        EXPECT_EQ(std::vector(host, host + 32 * 24), expected) << "form " << form;
    }
}

const std::string kBlack = MainImage("c = vec4(0);");
const char* const kNoImage = "the shader has no Image pass";  ///< it loads, but cannot be shown

TEST(Documents, FaultyOnesFailEveryFrameWithAReasonAndDoNotAffectTheNext) {
    const auto image = [](const std::string& code) { return DocumentBuilder().Image(code).Json(); };
    const std::pair<std::string, const char*> faults[] = {
        {"", "empty"},
        {"x", "does not begin with a brace"},
        {"{\"Error\":\"Shader not found\"}", "error document"},
        {"{[", "do not match"},
        {DocumentBuilder().Buffer('A', "x").Buffer('C', "void mainImage(out vec4, vec2);").Image("y").Json(),
         "Buffer A does not compile, Buffer C does not link, Image does not compile"},
        {image("#include \"nowhere\"\n" + MainImage("c = vec4(\n  missing);")), "Image:5:"},
        {image("#include \"bad.glsl\"\n" + kBlack), "bad.glsl:3:"},
        {image("#include <x>\n" + kBlack), "Image:1: #include <...>"},
        {DocumentBuilder().Common("float a;\r\n\r\nfloat b = c;").Image(kBlack).Json(), "Common:3:"},
        {DocumentBuilder().Pass("cubemap", "Cube A", kBlack).Image(kBlack).Json(),
         "Cube A: in the module's own lines after Cube A: error:"},
        {DocumentBuilder().Common("#line 7 3\nfloat a;").Image("#line 100 5\nint = ;").Json(), "Image:2:5:"},
        {DocumentBuilder().Buffer('A', kBlack).Json(), kNoImage},
        {image("#error \x1B[31m\xC3\xA4"), "#error  [31m\xC3\xA4"}};
    const TempFolder includes;
    includes.Write("bad.glsl", "float fine;\n\nfloat broken = nothing;\n");
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", includes.Path().c_str());
    preview::HostWindow window(32, 24);
    const RunOptions options = {.window = &window};
    for (const auto& [document, words] : faults) {
        ModuleRun run(document, options);
        EXPECT_EQ(run.Frames(2), FrameResult::Failed) << "a failed load is retried";
        EXPECT_THAT(run.Words(), HasSubstr(words));
        EXPECT_EQ(run.Words().find("cannot load a shader") == std::string::npos, words == kNoImage);
        run.Session().Close();
        EXPECT_EQ(DrawnRun("c = vec4(1);", {}, options).Pixel(0, 0), 0xFFFFFFU);
    }
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", nullptr);
}

/// Duplicate and unknown passes, a channel out of range, and what only some compilers accept.
TEST(Documents, InUnusualFormsAreDrawn) {
    // The time makes it new to the driver's cache, whose programs have no warnings.
    const std::string code = "#define SOURCE \\\n iChannel3\n// \xC3\xA9 \xE5\xA4\x8F " +
                             std::to_string(GetTickCount64()) + "\n/*" + std::string(300000, '*') + "*/" +
                             MainImage(
                                 "float char = 1.0, packed = 1.0, unset;\n"
                                 "c = texture(SOURCE, p) * char * (p.x < 0.0 ? unset : packed);");
    ModuleRun run(DocumentBuilder()
                      .Buffer('A', kBlack)
                      .Pass("buffer", "Buf A", MainImage("c = vec4(1);"))
                      .Image(code, {{.channel = 3, .id = 257}, {.channel = 9, .id = 258}})
                      .Pass("buffer", "Buffer @", "not GLSL")
                      .Pass("sound", "Sound", "nor this")
                      .Json());
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    EXPECT_EQ(run.Pixel(5, 5), 0xFFFFFFU);
    EXPECT_THAT(run.Words(), HasSubstr("unset")) << "the compiler's warning";
}

}  // namespace
}  // namespace pixelforge::test
