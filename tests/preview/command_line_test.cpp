// The program as a user starts it: arguments and event files, then status, words and files.
#include <gmock/gmock.h>

#include <windows.h>

#include <filesystem>
#include <iterator>
#include <sstream>

#include "base/bitmap.h"
#include "base/load_error.h"
#include "base/win_handles.h"
#include "media/image_decoder.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/host/input_events.h"
#include "preview/host/module_library.h"
#include "preview/options.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::HasSubstr;

using std::filesystem::path;

/// 8 x 8: one red, three white, two grey and two black (at first white) pixels in the upper row, black below.
constexpr const char* kColumns =
    "void mainImage(out vec4 c, in vec2 p) {\n"
    "c = p.y < iResolution.y - 1. || p.x > 6. && iFrame > 0 ? vec4(0) : p.x < 1. ? vec4(1, 0, 0, 1)\n"
    "    : vec4(p.x < 4. || p.x > 6. ? 1. : .5); }\n";

struct Row {
    const char* arguments;
    DWORD status;
    const char* words;

    /// Name, and the upper row of a picture or a part of another file; null if it must not exist.
    std::vector<std::pair<const char*, const char*>> files = {};
};

class CommandLine : public testing::Test {
protected:
    CommandLine() {
        folder_.Write("a.glsl", kColumns);
        folder_.Write("rgb.glsl",
                      "\xEF\xBB\xBFvoid mainImage(out vec4 c, in vec2 p) { float right = float(p.x > 2.);\n"
                      "c = p.y > 2. ? vec4(1. - right, 0, right, 1) : vec4(right, 1, right, 1); }");
        folder_.Write("kept.png", "kept");
        folder_.Write("x.glsl", "//@ x");
        folder_.Write("w.glsl", "//@ iChannel0 kept.png\n" + std::string(kColumns));
        folder_.Write("bad.glsl", "void mainImage(out vec4 c, in vec2 p) { c = x; }");
        folder_.Write("mouse.glsl",
                      "void mainImage(out vec4 c, in vec2 p) { ivec2 at = ivec2(iMouse.xy);\n"
                      "c = int(p.x) == at.x ? vec4(1) : vec4(int(p.x) == at.y, 0, 0, 1); }");
        folder_.Write("mouse", "1 button-down 1 1\n2 mouse-move 2 3");
        folder_.Write("resize", "1 resize 16 4");
        folder_.Write("keys", "1 key-down 0x10\n1 key-down 0x7B\n3 key-up 0x10\n5 key-down 0x7B\n");
        folder_.Write("list", "p.json\nunended");
        folder_.Write("n", "no.json\n");
        std::filesystem::create_directories(File("s/lib"));
        folder_.Write("s/lib/i.glsl", "#define WHITE vec4(1)\n");
        folder_.Write("s/beside.glsl", "void mainImage(out vec4 c, in vec2 p) { c = WHITE; }\n");
        folder_.Write("s/u.glsl", "#include \"i.glsl\"\n#include \"beside.glsl\"\n");
        SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", L"lib");
    }
    ~CommandLine() override {
        End(1);
        SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", nullptr);
    }

    path File(const char* name) const { return folder_.Path() / name; }
    std::string Text(const char* name) const { return test::ContentOf(File(name)); }

    /// Standard output goes to the other end of `output`, or with the errors to the file "words".
    void Start(const std::string& arguments, HANDLE output = nullptr) {
        words_ = AdoptFileHandle(CreateFileW(File("words").c_str(), FILE_APPEND_DATA, FILE_SHARE_READ,
                                             &inherited_, CREATE_ALWAYS, 0, nullptr));
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdError = words_.Get();
        startup.hStdOutput = output ? output : words_.Get();
        const path program = path(ModulePathBesideProgram()).replace_filename("preview.exe");
        std::wstring line = L"preview " + FromUtf8(arguments);
        PROCESS_INFORMATION process = {};
        ASSERT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   folder_.Path().c_str(), &startup, &process));
        process_ = UniqueKernelHandle(process.hProcess);
        CloseHandle(process.hThread);
    }

    /// Starts the program, which has then drawn its first frame and waits for the reader of the video.
    void StartPiped(const std::string& arguments) {
        HANDLE reader = nullptr;
        HANDLE writer = nullptr;
        ASSERT_TRUE(CreatePipe(&reader, &writer, &inherited_, 1024));
        SetHandleInformation(reader, HANDLE_FLAG_INHERIT, 0);
        reader_ = UniqueKernelHandle(reader);
        Start(arguments + " --size 64x64 --video -", writer);
        CloseHandle(writer);
        EXPECT_TRUE(Read());
    }
    bool Read() {
        char bytes[16];
        DWORD got = 0;
        ReadFile(reader_.Get(), bytes, sizeof bytes, &got, nullptr);
        piped_ += got;
        return got > 0;
    }

    DWORD End(DWORD patience = 60'000) {
        DWORD status = ~0U;
        if (process_ && WaitForSingleObject(process_.Get(), patience) != WAIT_OBJECT_0) {
            TerminateProcess(process_.Get(), 99);
        }
        GetExitCodeProcess(process_.Get(), &status);
        process_ = {};
        words_ = {};
        return status;
    }

    /// The upper row: W white, B black, R bright red, otherwise "."
    std::string UpperRow(const char* name) const {
        std::string reason;
        std::string row;
        const UniqueBitmap bitmap = DecodeImageFile(File(name).c_str(), reason);
        const SectionPixels pixels = PixelsOf(bitmap.Get());
        for (std::size_t at = 0; at < 24 && at < pixels.bytes.size(); at += 3) {
            const int sum = pixels.bytes[at] + pixels.bytes[at + 1] + pixels.bytes[at + 2];
            row += sum == 3 * 255 ? 'W' : sum == 0 ? 'B' : pixels.bytes[at + 2] == 255 ? 'R' : '.';
        }
        return row + reason;
    }

    const test::TempFolder folder_;
    UniqueKernelHandle process_;
    UniqueKernelHandle words_;
    UniqueKernelHandle reader_;
    SECURITY_ATTRIBUTES inherited_ = {sizeof inherited_, nullptr, TRUE};
    DWORD piped_ = 0;
};

/// Arguments and a part of the message.
const std::pair<const char*, const char*> kWrongUsage[] = {
    {"a.glsl --no-such", "--no-such"},
    {"a.glsl --playlist list", "specify only one of"},
    {"--id abcdefghijklmnopqrst", "--id"},
    {"--forget \xE4\xB8\xAD", "--forget"},
    {"a.glsl --size 64", "\"64\" is not of the form WxH"},
    {"a.glsl --size 0x48", "\"0x48\""},
    {"a.glsl --size 64x48x2", "\"64x48x2\""},
    {"a.glsl --size 64x16385", "16384"},
    {"a.glsl --frames 0", "--frames"},
    {"a.glsl --levels 766", "--levels"},
    {"a.glsl --set Speed", "Label=value"},
    {"a.glsl --tiles 33x1", "32"},
    {"a.glsl --window --bench", "--bench"},
    {"a.glsl --scale 0.5", "--scale"},
    {"a.glsl --window --scale 4.1", "--scale"},
    {"a.glsl --window --scale 0.06", "--scale"},
    {"a.glsl --window --scale nan", "--scale"},
    {"a.glsl --monitor 1", "--monitor"},
    {"a.glsl --real-time --set Speed=0.1", "--real-time"},
    {"a.glsl --window --report r.json", "only for a --playlist"},
    {"a.glsl --window --every 1", "--every"},
    {"--playlist list --window --every 0", "--every"},
    {"--playlist list --watch", "shader file"},
    {"a.glsl --video v --size 64x47", "even"},
    {"a.glsl --video v --real-time", "--video"},
    {"a.glsl --rate 30", "--rate"},
    {"a.glsl --pack a.glsl", ".json"},
    {"a.glsl --pack b.json --check", "--pack"},
    {"--id i --pack b.json", "--pack"}};

/// The start of a video of "rgb.glsl": the Y, Cb and Cr of the colour cube's corners in limited range.
constexpr const char* kVideo =
    "YUV4MPEG2 W4 H4 F25:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED XMATRIX=BT.601\nFRAME\n"
    "\x51\x51\x29\x29\x51\x51\x29\x29\x91\x91\xEB\xEB\x91\x91\xEB\xEB"
    "\x5A\xF0\x36\x80\xF0\x6E\x22\x80"
    "FRAME\n\x51";

const Row kRuns[] = {
    {"", 2, "specify a shader file"},
    {"--help", 0, "Usage: preview"},
    {"missing.json", 2, "cannot read"},
    {"--forget ..", 2, "not a shader identifier"},
    {"a.glsl --include missing", 2, "missing: not a folder"},
    {"a.glsl --set \"No Label=1\"", 2, "No Label"},
    {"a.glsl --tiles 2x1 --levels 64", 2, "cannot be combined with tiles"},
    {"a.glsl --tiles 1x2 --foreground", 2, "cannot be combined with tiles"},
    {"a.glsl --events missing", 2, "cannot read"},
    {"a.glsl --window --monitor 9", 2, "no monitor 9"},
    {"a.glsl --png Q:/p.png", 2, "cannot write Q:"},
    {"a.glsl --png \"\"", 2, "--png: the value is empty"},
    {"a.glsl --png A.GLSL", 2, "overwrite", {{"a.glsl", "mainImage"}}},
    {"a.glsl --events keys --report Keys", 2, "overwrite", {{"keys", "key-down"}}},
    {"a.glsl --png p --report P", 2, "overwrite"},
    {"a.glsl --report kept.png/r.json", 2, "kept.png"},
    {"a.glsl --frames-dir kept.png", 2, "kept.png"},
    {"a.glsl --video made/v.y4m --png Q:/p.png", 2, "cannot write Q:", {{"made/v.y4m", nullptr}}},
    {"--forget neverloaded", 0, "nothing: neverloaded is not in the cache"},
    {"a.glsl --pack p.json", 0, "document    p.json", {{"p.json", "mainImage"}, {"p.json", "\n}\n"}}},
    {"p.json --pack P.json", 2, "overwrite", {{"p.json", "mainImage"}}},
    {"x.glsl --check --report r.json --png x.png", 1, "drawn\n", {{"r.json", "word"}, {"x.png", nullptr}}},
    {"x.glsl --pack x.json", 1, "x.glsl:1:5: error", {{"x.json", nullptr}}},
    {"bad.glsl --check --report r.json", 1, "bad.glsl:1:", {{"r.json", "\"exitStatus\": 1"}}},
    {"--playlist n --window --frames 1 --report r.json", 1, "1 shaders:\nn:1: no", {{"r.json", "no.json"}}},
    {"bad.glsl --size 8x8 --window --frames 2 --png n.png", 1, "bad.glsl:1:", {{"n.png", nullptr}}},
    {"mouse.glsl --size 8x8 --frames 3 --events mouse --png p.png", 0, "p.png", {{"p.png", "BBWBBRBB"}}},
    {"a.glsl --check", 0, "the module ignores \"lib\": not a folder"},
    {"a.glsl --info", 0, "Shader"},
    {"--playlist list --size 8x8 --frames 1 --png p.png", 0, "list:2:1: warning", {{"p.png", "RWWW..WW"}}},
    {"a.glsl --frames 2 --report d/e/r.json", 0, "picture     none", {{"d/e/r.json", "\"drawn\": 2"}}},
    {"a.glsl --frames 2 --frames-dir f", 0, "", {{"f/frame-00001.png", "W"}, {"f/frame-00002.png", "W"}}},
    {"a.glsl --size 8x8 --frames 3 --levels 64 --png p.png", 0, "p.png", {{"p.png", ".WWW..BB"}}},
    {"a.glsl --size 8x8 --frames 3 --foreground --png p.png", 0, "p.png", {{"p.png", "RWWW...."}}},
    {"a.glsl --size 8x8 --frames 3 --tiles 2x1 --png p.png", 0, "p.png", {{"p.png", "RW.BRW.B"}}},
    {"a.glsl --size 8x8 --frames 3 --tiles 2x1 --mirror --png p.png", 0, "p.png", {{"p.png", "RW.BBB.W"}}},
    {"rgb.glsl --size 4x4 --frames 2 --video v.y4m --rate 25", 0, "none", {{"v.y4m", kVideo}}},
    {"w.glsl --size 8x8 --frames 2 --video v.y4m --events resize", 1,
     "stays empty: kept.png: not a picture that the system can decode\npreview: --video: the frame size"},
    {"a.glsl --size 8x8 --frames 2 --bench --events resize --png g.png", 0, "16 x 4", {{"g.png", "...."}}},
    {"s/u.glsl --size 8x8 --window --frames 8 --events keys --png w.png",
     0,
     "plain shader",
     {{"u-2.png", nullptr}, {"u-6.png", "W"}, {"w.png", "W"}}}};

TEST(Options, RejectWrongUsageWithAReason) {
    for (const auto& [text, reason] : kWrongUsage) {
        std::istringstream words(text);
        const std::vector<std::string> arguments(std::istream_iterator<std::string>(words), {});
        EXPECT_THAT(
            [&] { ParseOptions(arguments); },
            testing::Throws<HostError>(AllOf(testing::Property(&HostError::Status, ExitStatus::WrongUsage),
                                             testing::Property(&HostError::what, HasSubstr(reason)))))
            << text;
    }
}

TEST_F(CommandLine, EndsWithTheExpectedStatusMessageAndFiles) {
    for (const Row& row : kRuns) {
        SCOPED_TRACE(row.arguments);
        Start(row.arguments);
        EXPECT_EQ(End(), row.status);
        EXPECT_THAT(Text("words"), HasSubstr(row.words));
        for (const auto& [name, content] : row.files) {
            const bool exists = std::filesystem::is_regular_file(File(name));
            const bool isPicture = path(name).extension() == ".png";
            EXPECT_EQ(exists, content != nullptr) << name;
            EXPECT_THAT(exists && isPicture ? UpperRow(name) : Text(name), HasSubstr(content ? content : ""));
        }
    }
}

TEST_F(CommandLine, FailsIfOnlySomeFramesAreDrawn) {
    folder_.Write("i.glsl", "vec4 f() { return vec4(1); }\n");
    folder_.Write("uses.glsl", "#include \"i.glsl\"\nvoid mainImage(out vec4 c, in vec2 p) { c = f(); }\n");
    StartPiped("uses.glsl --frames 4 --events resize");
    std::filesystem::remove(File("i.glsl"));
    while (Read()) {
    }
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Text("words"), HasSubstr("3 frames failed"));
}

TEST_F(CommandLine, PipesOnlyTheVideoUntilItsReaderEnds) {
    StartPiped("a.glsl --frames 3 --info --bench");
    while (Read()) {
    }
    EXPECT_EQ(End(), 0U);
    EXPECT_EQ(piped_, 76 + 3 * (6 + 64 * 64 * 3 / 2)) << "a header and three frames";
    EXPECT_THAT(Text("words"), HasSubstr("\nwhole frame"));
    StartPiped("a.glsl --frames 10000000");
    reader_ = {};
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Text("words"), HasSubstr("has ended"));
}

TEST_F(CommandLine, RemovesItsFilesIfItCrashes) {
    const std::string mark = "// " + std::to_string(GetCurrentProcessId());
    folder_.Write("c.glsl", mark + "\n" + kColumns);
    const auto staged = [&] {
        std::size_t count = 0;
        std::error_code none;  // The last program that ends removes the folder.
        for (const auto& entry : std::filesystem::directory_iterator("D:\\Moonreel", none)) {
            FailureOf([&] { count += ReadInputFile(entry.path()).find(mark) != std::string::npos; });
        }
        return count;
    };
    StartPiped("c.glsl --frames 1000");
    EXPECT_EQ(staged(), 1U);
    const UniqueKernelHandle thread(
        CreateRemoteThread(process_.Get(), nullptr, 0, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Text("words"), HasSubstr("the module crashed (exception 0xC0000005)"));
    EXPECT_EQ(staged(), 0U);
}

TEST(Options, ImplyOtherOptions) {
    const Options check = ParseOptions({"a.json", "--check"});
    EXPECT_TRUE(check.frames == 1 && check.size.cx == 64 && check.framesPerSecond == 60);
    EXPECT_EQ(ParseOptions({"a.json", "--info"}).frames, 1);
    EXPECT_EQ(ParseOptions({"a.json", "--mirror"}).settings.at(0).value, "true");
    EXPECT_EQ(ParseOptions({"/a.json", "--check", "--size", "8x8"}).size.cx, 8);
    for (const char* implied : {"--watch", "--fullscreen", "--window"}) {
        const Options view = ParseOptions({"a.json", implied});
        EXPECT_TRUE(view.window && view.realTime && view.frames == 0) << implied;
    }
    const Options set = ParseOptions({"a.json", "--window", "--set", "Speed=0.1", "--frames", "7"});
    EXPECT_TRUE(!set.realTime && set.frames == 7);
    EXPECT_FALSE(ParseOptions({"a.json"}).realTime);
    EXPECT_EQ(ParseOptions({"a.json", "--video", "-", "--rate", "25"}).settings[0].value, "0.04");
    EXPECT_EQ(ParseOptions({"--set", "Speed=0", "a.json", "--video", "-"}).settings.size(), 1u);
    EXPECT_THAT(
        ParseOptions({"a.json", "--set", "X Tiling=4", "--tiles", "3x2", "--foreground"}).settings,
        ElementsAre(FieldsAre("X Tiling", "3"), FieldsAre("Y Tiling", "2"), FieldsAre("Mirroring", "false"),
                    FieldsAre("Foreground Only", "true"), FieldsAre("X Tiling", "4")));
}

TEST(Options, OpenADroppedFile) {
    const std::vector<std::string> shown = {"--id", "i", "--window", "--include", "l i"};
    const struct {
        std::vector<std::string> options;
        const wchar_t* name;
        const char* bytes;  ///< null: there is no such file
        const char* words;
        const char* picture = "";
    } cases[] = {{shown, L"./a b.glsl", "a", "preview \"./a b.glsl\" --include \"l i\""},
                 {shown, L"b.Playlist", "a\n", "preview --playlist b.Playlist"},
                 {shown, L"c.txt", "a", "the playlist has no line"},
                 {shown, L"c.PNG", "a", "a picture needs a shader"},
                 {shown, L"missing.json", nullptr, "cannot read"},
                 {{"a.json"}, L"c.jpeg", "", "preview a.json", "c.jpeg"}};
    for (const auto& [options, name, bytes, words, picture] : cases) {
        if (bytes) {
            WriteOutputFile(name, BytesOf(bytes));
        }
        Options current = ParseOptions(options);
        current.picturePath = "last.png";
        Options next;
        const std::string failure = FailureOf([&] {
            next = OptionsForFile(current, name, {.size = {7, 9}, .scale = 0.5});
        });
        EXPECT_THAT(failure.empty() ? CommandOf(next) : failure, testing::StartsWith(words));
        EXPECT_EQ(next.source.path.empty(), !failure.empty());
        EXPECT_EQ(next.picturePath, picture);
        EXPECT_EQ(next.scale == 0.5 && next.size.cx == 7, failure.empty());
        std::filesystem::remove(name);
    }
}

TEST(InputEvents, AreSortedByFrame) {
    const auto events = ParseInputEvents(
        "# comment\r\n\r\n20 key-up 0x41\r\n0 key-down 65 # held\n 5\tmouse-move -3 40\n5 button-down 1 2\n"
        "6 button-up 1 2\n7 resize 640 360",
        "f");
    EXPECT_THAT(events, ElementsAre(FieldsAre(0, WM_KEYDOWN, 65, 0), FieldsAre(5, WM_MOUSEMOVE, -3, 40),
                                    FieldsAre(5, WM_LBUTTONDOWN, 1, 2), FieldsAre(6, WM_LBUTTONUP, 1, 2),
                                    FieldsAre(7, WM_SIZE, 640, 360), FieldsAre(20, WM_KEYUP, 65, 0)));
}

TEST(InputEvents, ReportAnInvalidLineByNumber) {
    for (const char* line : {"x", "5", "5 jump 1", "-1 key-up 1", "1 key-up 256", "1 key-up", "1 key-up 1 2",
                             "1 mouse-move 1 40000", "1 resize 0 4", "99999999999 key-up 1", "1 key-up 1x"}) {
        EXPECT_THAT([&] { ParseInputEvents("\n0 key-down 1\n" + std::string(line), "in.txt"); },
                    testing::ThrowsMessage<HostError>(HasSubstr("in.txt:3:")))
            << line;
    }
}

}  // namespace
}  // namespace pixelforge::preview
