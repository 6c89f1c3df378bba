// The program as a user starts it: arguments and event files, then status, words and files.
#include <gmock/gmock.h>

#include <windows.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>

#include "base/bitmap.h"
#include "base/load_error.h"
#include "base/win_handles.h"
#include "media/image_decoder.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
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
    "    : vec4(p.x < 4. || p.x > 6. ? 1. : .2); }\n";

class CommandLine : public testing::Test {
protected:
    CommandLine() {
        folder_.Write("a.glsl", kColumns);
        folder_.Write("rgb.glsl",
                      "\xEF\xBB\xBFvoid mainImage(out vec4 c, in vec2 p) { float right = float(p.x > 1.);\n"
                      "c = p.y > 1. ? vec4(1. - right, 0, right, 1) : vec4(right, 1, right, 1); }");
        folder_.Write("kept.png", "kept");
        folder_.Write("x.glsl", "//@ x");
        folder_.Write("w.glsl",
                      "//@ iChannel0 kept.png\n#if 0\n#include \"no\"\n#endif\n" + std::string(kColumns));
        folder_.Write("bad.glsl", "void mainImage(out vec4 c, in vec2 p) { c = x; }");
        folder_.Write("mouse.glsl",
                      "void mainImage(out vec4 c, in vec2 p) { ivec2 at = ivec2(iMouse.xy);\n"
                      "bool key = p.x < texelFetch(iChannel0, ivec2(66, 0), 0).x;\n"
                      "c = int(p.x) == at.x ? vec4(1) : vec4(key || int(p.x) == at.y, 0, 0, 1); }");
        folder_.Write("mouse", "1 button-down 1 1\n1 key-down 66\n2 mouse-move 2 3");
        folder_.Write("resize", "1 resize 16 4");
        folder_.Write("frame-00001.png", kColumns);  // until the first frame is written
        folder_.Write("once.glsl", "#include \"frame-00001.png\"\n");
        folder_.Write("keys", "1 key-down 0x10\n1 key-down 0x7B\n3 key-up 0x10\n5 key-down 0x7B\n");
        folder_.Write("list", "p.json\nunended");
        folder_.Write("nn", "p.json\nbad.json\n");
        folder_.Write("n", "bad.json\nbad.json\nbad.json\nbad.json\n");
        std::filesystem::create_directories(File("s/lib"));
        folder_.Write("s/lib/i.glsl", "#define WHITE vec4(1)\n");
        folder_.Write("s/beside.glsl", "void mainImage(out vec4 c, in vec2 p) { c = WHITE; }\n");
        folder_.Write("s/lib/bad.glsl", Text("bad.glsl"));
        folder_.Write("s/e.glsl", "#include \"bad.glsl\"\n");
        folder_.Write("s/u.glsl", "#include \"i.glsl\"\n#include \"beside.glsl\"\n");
    }
    ~CommandLine() override { End(1); }

    path File(const char* name) const { return folder_.Path() / name; }
    std::string Text(const char* name) const { return test::ContentOf(File(name)); }

    UniqueKernelHandle Inherited(const char* name) {
        return AdoptFileHandle(CreateFileW(File(name).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, &inherited_,
                                           CREATE_ALWAYS, 0, nullptr));
    }

    /// Standard output goes to the other end of `output` or to a file, standard error to another.
    void Start(const std::string& arguments, HANDLE output = nullptr) {
        const UniqueKernelHandle errors = Inherited("errors");
        const UniqueKernelHandle summary = Inherited("summary");
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdError = errors.Get();
        startup.hStdOutput = output ? output : summary.Get();
        const path program = path(ModulePathBesideProgram()).replace_filename("preview.exe");
        std::wstring line = L"preview " + FromUtf8(arguments);
        PROCESS_INFORMATION process = {};
        ASSERT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   folder_.Path().c_str(), &startup, &process));
        process_ = UniqueKernelHandle(process.hProcess);
        CloseHandle(process.hThread);
    }

    void WaitFor(const char* file, const char* words) {
        for (int i = 0; i < 600 && Text(file).find(words) == std::string::npos; ++i) {
            Sleep(100);
        }
    }

    DWORD End(DWORD patience = 60'000) {
        DWORD status = ~0U;
        if (process_ && WaitForSingleObject(process_.Get(), patience) != WAIT_OBJECT_0) {
            TerminateProcess(process_.Get(), 99);
        }
        GetExitCodeProcess(process_.Get(), &status);
        process_ = {};
        return status;
    }

    /// Without what varies or is not ours (times, folders, texts of system and driver) and line breaks before
    /// JSON's brackets and names. The summary of a run becomes <picture, size, measured frames>.
    std::string Readable(const std::string& text) const {
        const std::pair<const char*, const char*> replaced[] = {
            {"(controls are:|Usage:)[^]*", "$1 ..."},
            {" *(?!0\\.0+[^0-9])[0-9]+\\.[0-9]+", " #"},
            {"[A-Z]:.*test [0-9-]+", "~"},
            {" \\([A-Z][^)]*\\)", " (why)"},
            {"((?:bad.glsl|Image):1:)[^\\\\\n]*|(once.glsl:1:).*\n.*", "$1$2 why"},
            {"(n:|\"line\": )[1-4]", "$1"},
            {"(n+:: .*\n(?:bad.*\ncannot.*\n)?)\\1+", "repeatedly $1"},
            {"(version|renderer|vendor)\": \".+\"", "$1\": \"...\""},
            {"\n *([{}\\[\\]\"])", "$1"},
            {"\\{\"Shader\".*\"id\": \"(\\w+)\",\"date.*\"code\": \"(.{32}).*\\}", "document $1: $2..."},
            {"preview: (.*): plain shader, used as the Image pass\n", "(plain $1) "},
            {"picture     (.*)\nframe size  (.*)\nframe rate # frames per second \\(median of (.*)\\)\n",
             "<$1, $2, $3>\n"},
            {"(^|\n| )%$", ""}};
        std::string readable = text;
        for (const auto& [pattern, replacement] : replaced) {
            readable = std::regex_replace(readable, std::regex(pattern), replacement);
        }
        return readable;
    }

    /// The content of a file of any kind; "%" ends a text without a line break.
    std::string Shown(const std::string& name) const {
        const std::string text = Text(name.c_str());
        return name.ends_with(".png")         ? UpperRow(name.c_str())
               : text.starts_with("YUV4MPEG") ? testing::PrintToString(text)
                                              : Readable(text + "%");
    }

    /// Those of the folder with their names.
    std::map<std::string, std::string> Files() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path())) {
            const std::string name = entry.path().lexically_relative(folder_.Path()).generic_string();
            if (entry.is_regular_file() && name != "errors" && name != "summary") {
                files[name] = Shown(name);
            }
        }
        return files;
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
    SECURITY_ATTRIBUTES inherited_ = {sizeof inherited_, nullptr, TRUE};
};

/// A part of the message and the arguments that cause it.
const std::pair<const char*, const char*> kWrongUsage[] = {
    {"--no-such", "a --no-such"},
    {"specify only one of shader file, --playlist and --id", "a --playlist l; --playlist l --id i"},
    {"is not an identifier of at most 19 char", "--id abcdefghijklmnopqrst; --forget \xE4\xB8\xAD"},
    {"WxH with numbers from 1 to 16384", "a --size 64; a --size 0x48; a --size 64x48x2; a --size 64x16385"},
    {"--tiles: \"33x1\" is not of the form XxY with numbers from 1 to 32", "a --tiles 33x1"},
    {"not in range 1 to 10000000", "a --frames 0; a --frames 10000001"},
    {"not in range 1 to 765", "a --levels 766"},
    {"not in range 1 to 64", "a --window --monitor 65"},
    {"not in range 1 to 86400", "--playlist l --window --every 86401"},
    {"not in range 1 to 1000", "a --video v --rate 1001"},
    {"\" is not of the form Label=value", "a --set Speed; a --set =1"},
    {" cannot be combined with --window, --fullscreen or --watch",
     "a --window --bench; a --watch --check; a --fullscreen --info; a --window --video v; a --window "
     "--frames-dir d"},
    {"--report can be combined with --window only for a --playlist", "a --window --report r"},
    {" needs --window, --fullscreen or --watch", "a --monitor 1; a --scale 0.5"},
    {"--scale: the number must be from 0.0625 to 4",
     "a --window --scale 4.1; a --window --scale 0.06; a --window --scale nan"},
    {"--every needs --playlist and --window", "a --window --every 1; --playlist l --every 1"},
    {" needs a shader file", "--playlist l --watch; --id i --pack b.json"},
    {"--real-time cannot be combined with --set \"Speed=...\" or --video",
     "a --real-time --set Speed=0.1; a --video v --real-time"},
    {"--video needs an even width and height", "a --video v --size 64x47; a --video v --size 63x48"},
    {"--rate needs --video", "a --rate 30"},
    {"--pack needs a name that ends in .json, and allows no other option",
     "a --pack a; a --pack b.json --check"}};

Options Parse(const std::string& text) {
    std::istringstream words(text);
    return ParseOptions({std::istream_iterator<std::string>(words), {}});
}

TEST(Options, RejectWrongUsageWithAReason) {
    for (const auto& [reason, lines] : kWrongUsage) {
        std::istringstream separated(lines);
        for (std::string line; std::getline(separated, line, ';');) {
            EXPECT_THAT(FailureOf([&] { Parse(line); }), HasSubstr(reason)) << line;
        }
    }
    EXPECT_THROW(ParseOptions({"--id", "a\nb"}), HostError) << "two lines of a playlist";
}

/// "[FOLDER_SHADERINCLUDE] arguments => status [changed file: content] (standard output) (standard error)"
TEST_F(CommandLine, PrintsAndWritesWhatTheTranscriptSays) {
    const path transcript = PIXELFORGE_SOURCE_DIR "/tests/preview/runs.txt";
    const std::regex run("((?:\\[(.*)\\] )?(.*) => ).*");
    std::istringstream lines(test::ContentOf(transcript));
    std::string actual;
    for (std::string line; std::getline(lines, line);) {
        if (std::smatch words; std::regex_match(line, words, run)) {
            SetEnvironmentVariableA("FOLDER_SHADERINCLUDE",
                                    words[2].matched ? words.str(2).c_str() : nullptr);
            auto before = Files();
            Start(words.str(3));
            actual += words.str(1) + std::to_string(End());
            for (const auto& [name, content] : Files()) {
                const bool changed = !before.contains(name) || before[name] != content;
                actual += changed ? " [" + name + ": " + content + "]" : "";
            }
            actual += " (" + Shown("summary") + ") (" + Shown("errors") + ")\n";
        }
    }
    EXPECT_EQ(actual, test::ContentOf(transcript));
}

TEST_F(CommandLine, ReloadsAChangedShaderWithItsOwnMessages) {
    Start("w.glsl --size 8x8 --watch --frames 300");
    WaitFor("errors", "loaded");
    folder_.Write("w.glsl", "\n//@ iChannel1 kept.png\n" + std::string(kColumns));
    WaitFor("errors", "reloading");
    EXPECT_EQ(End(), 0U);
    const std::string empty =
        " stays empty: kept.png: not a picture that the system can decode\npreview: w.glsl: ";
    EXPECT_EQ(Shown("errors"),
              "(plain w.glsl) w.glsl:3:1: warning: no include file \"no\"; looked for no; no include folder "
              "is set\nw.glsl:1:1: warning: iChannel0" +
                  empty + "loaded\npreview: w.glsl: reloading\nw.glsl:2:1: warning: iChannel1" + empty +
                  "loaded");
}

TEST_F(CommandLine, EndsWithTheReaderOfItsVideo) {
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    ASSERT_TRUE(CreatePipe(&reader, &writer, &inherited_, 1024));
    SetHandleInformation(reader, HANDLE_FLAG_INHERIT, 0);
    Start("a.glsl --frames 1 --size 8x8 --video -", writer);
    CloseHandle(writer);
    CloseHandle(reader);
    EXPECT_EQ(End(), 1U);
    EXPECT_EQ(Shown("errors"),
              "(plain a.glsl) preview: --video: the program that reads standard output has ended");
}

TEST_F(CommandLine, SaysThatTheModuleCrashed) {
    Start("a.glsl --size 8x8 --frames 1000000 --frames-dir f");
    WaitFor("f/frame-00001.png", "PNG");
    const UniqueKernelHandle thread(
        CreateRemoteThread(process_.Get(), nullptr, 0, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(End(), 1U);
    EXPECT_EQ(Shown("errors"), "(plain a.glsl) preview: the module crashed (exception 0xC0000005)");
}

TEST(Options, HaveDefaultsAndImplyOthers) {
    const Options plain = Parse("/a.json --video - --set X=1=2");
    EXPECT_TRUE(plain.frames == 60 && !plain.realTime);
    EXPECT_THAT(plain.settings, ElementsAre(FieldsAre("X", "1=2"), FieldsAre("Speed", "0.0166666667")));
    const Options check = Parse("a.json --check --size 8x8");
    EXPECT_TRUE(check.frames == 1 && check.size.cx == 8 && Parse("a.json --info").frames == 1);
    EXPECT_EQ(CommandOf(Parse("--id abcdefghijklmnopqrs")), "preview --id abcdefghijklmnopqrs");
    for (const char* implied : {"--watch", "--fullscreen", "--window"}) {
        const Options view = Parse(std::string("a.json --scale 4 ") + implied);
        EXPECT_TRUE(view.window && view.realTime && view.frames == 0 && view.scale == 4.0) << implied;
    }
    const Options set = Parse("a.json --window --set Speed=0.1 --frames 7 --monitor 64 --scale 0.0625");
    EXPECT_TRUE(!set.realTime && set.frames == 7 && set.monitor == 64);
    EXPECT_EQ(Parse("--set X=0 --set Speed=0 a.json --video -").settings.size(), 2u);
    EXPECT_EQ(Parse("--playlist l --fullscreen --every 86400").secondsPerPick, 86400);
}

/// The options before, the file's name and content (null: there is none), the next command or the failure,
/// and the picture.
const std::tuple<const char*, const wchar_t*, const char*, const char*, const char*> kDropped[] = {
    {"--id i --window --include l&i", L"./a b.glsl", "a", "preview \"./a b.glsl\" --include \"l&i\"", ""},
    {"--id i", L"b.Playlist", "a\n", "preview --playlist b.Playlist", ""},
    {"--id i", L"c.txt", "a", "the playlist has no line", ""},
    {"--id i", L"c.PNG", "a", "a picture needs a shader", ""},
    {"--id i", L"missing.json", nullptr, "cannot read", ""},
    {"a&b", L"c.jpeg", "", "preview \"a&b\"", "c.jpeg"},
    {"a.json", L"c.bmp", "", "preview a.json", "c.bmp"},
    {"a.json", L"c.tif", "", "preview a.json", "c.tif"}};

TEST(Options, OpenADroppedFile) {
    for (const auto& [options, name, bytes, words, picture] : kDropped) {
        if (bytes) {
            WriteOutputFile(name, BytesOf(bytes));
        }
        Options current = Parse(options);
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

}  // namespace
}  // namespace pixelforge::preview
