// What `preview` writes: reports, pictures, videos and temporary files; and what it captures.
#include <gmock/gmock.h>

#include <windows.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "base/file.h"
#include "preview/documents/opened_shader.h"
#include "preview/frame_run.h"
#include "preview/host/debug_capture.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_surface.h"
#include "preview/host/staged_shader.h"
#include "tests/support/process_census.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Report, HoldsEveryFrameAndLineAndTheStatisticsOfFramesDrawnWithoutALoad) {
    std::vector<FrameRecord> frames = {{.result = FrameResult::Failed, .milliseconds = 900, .loading = true},
                                       {.result = FrameResult::Drawn, .milliseconds = 500, .loading = true},
                                       {.result = FrameResult::NothingDrawn, .milliseconds = 700}};
    for (int i = 198; i > 0; --i) {
        frames.push_back({.result = FrameResult::Drawn, .milliseconds = i + 0.0, .crc32 = 0xABu});
    }
    const std::string json =
        ReportJson({.shader = "C:\\a \"b\".json", .frames = frames, .debugLines = {"\xC3\xA4"}});
    rapidjson::Document report;
    ASSERT_FALSE(report.Parse(json.c_str()).HasParseError()) << json;
    EXPECT_STREQ(report["shader"].GetString(), "C:\\a \"b\".json");
    EXPECT_STRNE(report["gl"]["version"].GetString(), "");
    ASSERT_EQ(report["frames"].Size(), 201u);
    EXPECT_TRUE(report["frames"][0]["loading"].GetBool());
    EXPECT_EQ(report["frames"][2]["result"].GetInt(), 3);
    EXPECT_STREQ(report["frames"][3]["crc32"].GetString(), "000000ab");
    EXPECT_STREQ(report["debugOutput"][0].GetString(), "\xC3\xA4");
    const rapidjson::Value& figures = report["statistics"];
    for (const auto& [name, expected] : {std::pair("drawn", 199.0),
                                         {"failed", 1.0},
                                         {"measured", 198.0},
                                         {"medianMilliseconds", 99.5},
                                         {"percentile95Milliseconds", 189.0},
                                         {"worstMilliseconds", 198.0},
                                         {"framesPerSecond", 10.050}}) {
        EXPECT_NEAR(figures[name].GetDouble(), expected, 0.001) << name;
    }
    EXPECT_EQ(Summarize({}).worstMilliseconds, 0.0);
    EXPECT_EQ(Summarize(std::span(frames).last(20)).percentile95Milliseconds, 19.0) << "a whole rank";
    EXPECT_EQ(Crc32(BytesOf("123456789")), 0xCBF43926u) << "as in PNG and ZIP files";
    report.Parse(ReportJson({.failedPicks = {{{{12, "\xE4"}, "why"}}}}).c_str());
    const rapidjson::Value& pick = report["failedPicks"][0];
    EXPECT_EQ(pick["line"].GetInt(), 12);
    EXPECT_STREQ(pick["shader"].GetString(), "\xC3\xA4");
    EXPECT_STREQ(pick["reason"].GetString(), "why");
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
    const std::wstring foreign[] = {L"D:\\Moonreel\\paa0aa8", folder + L"\\preview-mine.playlist"};
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
    EXPECT_THAT(source.files, testing::Contains(testing::EndsWith(L".cube.glsl")));
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
    EXPECT_FALSE(WorkingFolder(L"C:\\missing\\file.json").Entered()) << "to be reported";
}

TEST(DebugCapture, CapturesEachTextOnceAndJoinsPiecesIntoLines) {
    DebugCapture capture;
    OutputDebugStringA("narrow ");
    OutputDebugStringW(L"wide \u00E4\r");
    OutputDebugStringA("\n\nutf-8 \xC3\xA4\nunfin");
    OutputDebugStringA("");
    std::thread([] { OutputDebugStringW(L"ished"); }).join();
    EXPECT_THAT(capture.Lines(), ElementsAre("narrow wide \xC3\xA4", "", "utf-8 \xC3\xA4", "unfinished"));
    capture.Clear();
    EXPECT_THAT(capture.Lines(), ElementsAre());
    const std::string text(20'000, 'x');
    const auto print = [&] {
        for (int i = 0; i < 200; ++i) {
            OutputDebugStringA(text.c_str());
        }
    };
    std::thread other(print);
    print();
    other.join();
    EXPECT_EQ(capture.Lines().front().size(), 400 * text.size());
}

TEST(ReadableLines, AreDistinctAndNameTheUsersFile) {
    const std::vector<std::string> lines = {"D:\\p1: no Image", "bad D:\\p1", "D:\\p1: no Image",
                                            "Pixelforge: Image:3: \x1B[31merror\xC2\x9B"};
    EXPECT_THAT(ReadableLines(lines, "D:\\p1", "my.json"),
                ElementsAre("my.json: no Image", "bad my.json", "Image:3:  [31merror "));
    EXPECT_THAT(ReadableLines({"xx"}, "x", "(x)"), ElementsAre("(x)(x)")) << "the name contains the alias";
}

}  // namespace
}  // namespace pixelforge::preview
