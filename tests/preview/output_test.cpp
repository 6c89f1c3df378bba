// The parts of a run: reports, pictures, temporary and long-named files, messages, scripted events, the
// module.
#include <gmock/gmock.h>

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <ios>
#include <optional>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "base/file.h"
#include "base/load_error.h"
#include "preview/documents/opened_shader.h"
#include "preview/frame_run.h"
#include "preview/host/debug_capture.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "preview/host/input_events.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "tests/support/process_census.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Report, HasTheStatisticsOfFramesDrawnWithoutALoad) {
    std::vector<FrameRecord> frames = {{.result = FrameResult::Failed, .milliseconds = 900, .loading = true},
                                       {.result = FrameResult::Drawn, .milliseconds = 500, .loading = true},
                                       {.result = FrameResult::NothingDrawn, .milliseconds = 700}};
    for (int i = 198; i > 0; --i) {
        frames.push_back({.result = FrameResult::Drawn, .milliseconds = i + 0.0, .crc32 = 0xABu});
    }
    EXPECT_THAT(ReportJson({.frames = frames}),
                HasSubstr("\"drawn\": 199,\n    \"failed\": 1,\n    \"measured\": 198,\n"
                          "    \"medianMilliseconds\": 99.5,\n    \"percentile95Milliseconds\": 189.0,\n"
                          "    \"worstMilliseconds\": 198.0,\n    \"framesPerSecond\": 10.0502\n"));
    EXPECT_THAT(ReportJson({.frames = frames}), HasSubstr(R"("crc32": "000000ab")"));
    EXPECT_EQ(Summarize(std::span(frames).last(20)).percentile95Milliseconds, 19.0) << "a whole rank";
    EXPECT_THAT(ReportJson({.failedPicks = {{{{12, "\xE4"}, "why"}}}}),
                HasSubstr("\"line\": 12,\n      \"shader\": \"\xC3\xA4\",\n      \"reason\": \"why\"\n"));
    EXPECT_FALSE(wglGetCurrentContext());
}

TEST(PngFile, FreesItsMemory) {
    std::vector<std::uint8_t> noise(std::size_t{512} * 512 * 4);
    std::ranges::generate(noise, [random = std::mt19937()]() mutable { return std::uint8_t(random()); });
    const test::TempFile file("", L".png");
    WritePng(file.Path(), {.bytes = noise, .width = 512, .height = 512});
    const std::size_t before = test::WorkingSetBytes();
    for (int i = 0; i < 20; ++i) {
        WritePng(file.Path(), {.bytes = noise, .width = 512, .height = 512});
    }
    EXPECT_LT(test::WorkingSetBytes(), before + 20 * noise.size() / 4) << "a third of the pictures";
}

TEST(StagedShader, RemovesItsFilesAndThoseOfAKilledProgramButNoOthers) {
    const std::wstring folder = L"D:\\Moonreel\\Pixelforge\\Playlists";
    const std::wstring left[] = {L"D:\\Moonreel\\paa0aa9", folder + L"\\preview-aa0aa9.playlist"};
    const std::wstring foreign[] = {L"D:\\Moonreel\\paa0aa8", folder + L"\\my preview-aa0aa8.playlist"};
    std::filesystem::create_directories(folder);
    for (const auto& files : {left, foreign}) {
        WriteOutputFile(files[0], BytesOf("x"));
        WriteOutputFile(files[1], BytesOf("x"));
    }
    std::optional first = StagedShader::OfDocument(BytesOf("1"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(IsExistingFile(left[i].c_str()));
        EXPECT_TRUE(std::filesystem::remove(foreign[i]));
    }
    std::optional second = StagedShader::OfDocument(BytesOf("22"));
    second->Replace(BytesOf("2"));
    const std::wstring alias = first->Path();
    const std::wstring playlist = folder + L"\\" + FromUtf8(first->PlaylistName());
    EXPECT_EQ(ReadInputFile(OpenedShader::OfIdentifier("\xC3\xA4").Staged().Path()), "\xE4\r\n");
    EXPECT_EQ(OpenedShader::OfIdentifier("i").Names().shader, "i");
    EXPECT_FALSE(DeleteFileW(alias.c_str()) || DeleteFileW(playlist.c_str())) << "in use";
    first.reset();
    EXPECT_FALSE(IsExistingFile(playlist.c_str()) || IsExistingFile(alias.c_str()));
    EXPECT_EQ(ReadInputFile(second->Path()), "2");
    second.reset();
    std::error_code none;
    EXPECT_FALSE(std::filesystem::is_empty(L"D:\\Moonreel\\Pixelforge", none)) << "an empty folder stays";
}

TEST(OpenedShader, ReloadsOnceAChangedFileIsCompleteAndReadable) {
    const test::TempFile file("//@ iChannel0 nothing\n", L".Frag");
    OpenedShader shader = OpenedShader::OfFile({"dir/s.glsl", file.Path()}, {}, "p.gif");
    EXPECT_EQ(shader.Errors().size(), 1u);
    EXPECT_EQ(ReadInputFile(shader.Staged().Path()), "");
    const auto polled = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        return shader.Refresh();
    };
    EXPECT_FALSE(polled());
    const test::TempFile user("#include \"i.glsl\"\n", L".glsl");
    const ShaderSource source = ReadShaderSource({"s.glsl", user.Path()}, {"lib", L"C:\\lib"});
    EXPECT_THAT(source.files, testing::Contains(L"C:\\lib\\i.glsl"));
    EXPECT_EQ(source.files.size(), 9u) << "seven passes, and i.glsl in two places";
    EXPECT_EQ(source.warnings.size(), 1u);
    const test::TempFile bare(
        R"({"renderpass":[{},{"type":"image","inputs":[{"type":"volume","channel":1,"filepath":"v"}]}]})");
    const ShaderSource document = ReadShaderSource({"b.json", bare.Path()}, {});
    EXPECT_TRUE(document.warnings.size() == 1 && !document.conversion.empty());
    EXPECT_THAT(document.files, testing::Contains(FolderOf(bare.Path()) + L"v"));
    const auto time = std::filesystem::last_write_time(file.Path());
    for (const char* text : {"void", "void mainImage(out vec4 c, in vec2 p) {} // \xE4"}) {
        WriteOutputFile(file.Path(), BytesOf(text));
        std::filesystem::last_write_time(file.Path(), time);
        EXPECT_FALSE(polled()) << "another write may follow";
    }
    auto writer = AdoptFileHandle(
        CreateFileW(file.Path().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(polled()) << "still open for writing";
    writer.Reset();
    EXPECT_TRUE(polled());
    EXPECT_THAT(ReadInputFile(shader.Staged().Path()), AllOf(HasSubstr("// \xC3\xA4"), HasSubstr("p.gif")));
    std::filesystem::last_write_time(file.Path(), time + std::chrono::hours(1));
    EXPECT_TRUE(!polled() && polled()) << "another time";
}

TEST(Examples, ArePackedFromTheirPlainShaders) {
    for (const auto& entry : std::filesystem::directory_iterator(PIXELFORGE_SOURCE_DIR "/examples")) {
        const std::wstring stem = entry.path().stem();
        if (entry.path().extension() == ".glsl" && stem.find(L'.') == stem.npos) {
            const ShaderSource source = ReadShaderSource({entry.path().string(), entry.path()}, {});
            EXPECT_THAT(source.errors, ElementsAre());
            EXPECT_EQ(source.document + "\n",
                      ReadInputFile(std::filesystem::path(entry).replace_extension(".json")))
                << "./run examples/NAME.glsl --pack examples/NAME.json";
        }
    }
}

TEST(FilePaths, MayBeLongerThanTheSystemsLimit) {
    const std::wstring name(257, L'x');
    EXPECT_TRUE(LongPath(L"C:\\" + name).starts_with(L"\\\\?\\C:\\x"));
    EXPECT_TRUE(LongPath(L"\\\\s\\" + name).starts_with(L"\\\\?\\UNC\\s\\x"));
    EXPECT_EQ(LongPath(L"\\\\?\\C:\\" + name), L"\\\\?\\C:\\" + name);
    EXPECT_FALSE(WorkingFolder(L"C:\\missing\\file.json").Entered()) << "to be reported";
    const test::TempFolder folder;
    const std::wstring file = folder.Path().wstring() + L"\\" + name.substr(57) + L"\\" + name.substr(57);
    RequireWritable(file);
    AppendToFile(file, BytesOf("very old"));
    WriteOutputFile(file, BytesOf("old"));
    AppendToFile(file, BytesOf("er"));
    EXPECT_EQ(ReadInputFile(file), "older");
    EXPECT_NE(FailureOf([&] { WriteOutputFile(folder.Path(), BytesOf("x")); }), "");
    const auto before = std::filesystem::current_path();
    EXPECT_TRUE(WorkingFolder(folder.Path() / "").Entered());
    EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST(DebugCapture, CapturesEachTextOnceAndJoinsPiecesIntoLines) {
    std::optional<DebugCapture> capture(std::in_place);
    OutputDebugStringA("n\xE4rrow ");
    OutputDebugStringW(L"wide \u00E4\r");
    OutputDebugStringA("\n\nutf-8 \xC3\xA4\nunfin");
    OutputDebugStringA("");
    std::thread([] { OutputDebugStringW(L"ished"); }).join();
    EXPECT_THAT(capture->Lines(),
                ElementsAre("n\xC3\xA4rrow wide \xC3\xA4", "", "utf-8 \xC3\xA4", "unfinished"));
    capture->Clear();
    EXPECT_THAT(capture->Lines(), ElementsAre());
    const std::string text(20'000, 'x');
    const auto print = [&] {
        for (int i = 0; i < 200; ++i) {
            OutputDebugStringA(text.c_str());
        }
    };
    std::thread other(print);
    print();
    other.join();
    EXPECT_EQ(capture->Lines().front().size(), 400 * text.size());
    capture.emplace();
    EXPECT_THAT(capture->Lines(), ElementsAre());
}

TEST(ReadableLines, AreDistinctAndNameTheUsersFile) {
    const std::vector<std::string> lines = {"D:\\p1: no Image", "bad D:\\p1", "D:\\p1: no Image",
                                            "Pixelforge: Image:3: \x1B[31merror\xC2\x9B"};
    EXPECT_THAT(ReadableLines(lines, "D:\\p1", "my.json"),
                ElementsAre("my.json: no Image", "bad my.json", "Image:3:  [31merror "));
    EXPECT_THAT(ReadableLines({"xx"}, "x", "(x)"), ElementsAre("(x)(x)")) << "the name contains the alias";
}

TEST(InputEvents, ArePostedInTheOrderOfFramesAsForAUser) {
    EventPlayer player(ParseInputEvents(
        "# comment\r\n\r\n20 key-up 0x41\r\n0 key-down 65 # held\n 5\tmouse-move -3 40\n5 button-down 1 2\n"
        "6 button-up 1 2\n7 resize 640 360",
        "f"));
    HostWindow window(8, 8);
    std::ostringstream posted;
    for (const int frame : {0, 5, 19, 20}) {
        player.Play(frame, window);
        posted << std::dec << frame << std::hex << (GetKeyState('A') < 0 ? " held" : "") << ":";
        for (MSG each; PeekMessageW(&each, window.Handle(), WM_KEYFIRST, WM_MOUSELAST, PM_REMOVE);) {
            posted << " " << each.message << "," << each.wParam << "," << each.lParam;
        }
        posted << " " << window.ClientSize().cx << "; ";
    }
    EXPECT_EQ(posted.str(),
              "0 held: 100,41,1e0001 8; 5 held: 200,0,28fffd 201,1,20001 8; "
              "19 held: 202,0,20001 280; 20: 101,41,c01e0001 280; ");
}

TEST(ModuleLibrary, FailsWithoutTheModuleOrItsExports) {
    for (const auto& [name, reason] :
         {std::pair(L"missing.dll", "cannot load the module C:\\windows\\"),
          {L"kernel32.dll", "the module does not export ModuleGetDescription"}}) {
        EXPECT_THAT(FailureOf([&] { ModuleLibrary(std::wstring(L"C:\\windows\\system32\\") + name); }),
                    testing::StartsWith(reason));
    }
}

TEST(InputEvents, ReportAnInvalidLineByNumber) {
    for (const char* line : {"x", "5", "5 jump 1", "-1 key-up 1", "1 key-up 256", "1 key-up", "1 key-up 1 2",
                             "1 mouse-move 1 40000", "1 resize 0 4", "99999999999 key-up 1", "1 key-up 1x"}) {
        EXPECT_THAT(FailureOf([&] { ParseInputEvents("\n0 key-down 1\n" + std::string(line), "in.txt"); }),
                    HasSubstr("in.txt:3:"))
            << line;
    }
}

}  // namespace
}  // namespace pixelforge::preview
