// What the module acquires and releases over the life of instances, and what a frame allocates and pauses.
#include <gtest/gtest.h>

#include <windows.h>

#include <dbghelp.h>

#include <array>
#include <filesystem>
#include <map>
#include <thread>

#include "tests/support/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

constexpr auto List(auto... names) {
    return std::array{std::string_view(names)...};
}

/// Functions that the module imports or asks OpenGL for: one that acquires, then the one that releases.
constexpr auto kCalls =
    List("malloc", "free", "calloc", "free", "realloc", "free", "GlobalAlloc", "GlobalFree", "CreateFileW",
         "CloseHandle", "CreateEventW", "CloseHandle", "CreateDIBSection", "DeleteObject",
         "CreateCompatibleDC", "DeleteDC", "GetDC", "ReleaseDC", "SetPropW", "RemovePropW", "InternetOpenW",
         "InternetCloseHandle", "wglCreateContext", "wglDeleteContext", "wglCreateContextAttribsARB",
         "wglDeleteContext", "glGenTextures", "glDeleteTextures", "glGenSamplers", "glDeleteSamplers",
         "glGenFramebuffers", "glDeleteFramebuffers", "glGenBuffers", "glDeleteBuffers", "glGenVertexArrays",
         "glDeleteVertexArrays", "glCreateProgram", "glDeleteProgram", "glCreateShader", "glDeleteShader");
constexpr std::size_t kAllocators = 8;  ///< the first of the calls

// Of this thread, as others may be in the middle of their work.
thread_local std::map<std::string_view, int> unreleased;  ///< by the function that would release
thread_local int allocations = 0;
thread_local DWORD paused = 0;  ///< milliseconds

using Word = std::uintptr_t;
/// With as many words as any of the functions has parameters; the others ignore the rest.
using Function = Word (*)(Word, Word, Word, Word, Word, Word, Word);

template <std::size_t kCall>
Function original = nullptr;

template <std::size_t kCall>
Word Count(Word a, Word b, Word c, Word d, Word e, Word f, Word g) {
    constexpr std::string_view name = kCalls[kCall];
    const Word result = original<kCall>(a, b, c, d, e, f, g);
    allocations += kCall < kAllocators && kCall % 2 == 0;
    const bool succeeded = result + 1 > 1 && (name != "realloc" || a == 0);  // 0 and -1 are failures
    if (name.starts_with("gl") || name == "ReleaseDC" || (kCall % 2 == 0 ? succeeded : a != 0)) {
        unreleased[kCalls[kCall | 1]] += kCall % 2 == 0 ? 1 : -1;
    }
    return result;
}

/// Returns the counting version of a function, or the function itself if it is not counted.
template <std::size_t kCall = 0>
Word Counted(std::string_view name, Word function) {
    if constexpr (kCall < kCalls.size()) {
        if (function == 0 || name != kCalls[kCall]) {
            return Counted<kCall + 1>(name, function);
        }
        original<kCall> = reinterpret_cast<Function>(function);
        return reinterpret_cast<Word>(&Count<kCall>);
    }
    return function;
}

void CountImportsOf(HMODULE module) {
    const auto base = reinterpret_cast<Word>(module);
    ULONG size = 0;
    const void* imports = ImageDirectoryEntryToData(module, TRUE, IMAGE_DIRECTORY_ENTRY_IMPORT, &size);
    for (auto* library = static_cast<const IMAGE_IMPORT_DESCRIPTOR*>(imports); library->Name; ++library) {
        const auto* names = reinterpret_cast<const Word*>(base + library->OriginalFirstThunk);
        for (auto* entry = reinterpret_cast<Word*>(base + library->FirstThunk); *entry; ++entry, ++names) {
            const std::string_view name = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + *names)->Name;
            DWORD protection = 0;
            VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
            const auto find = [](const char* gl) {
                return Counted(gl, reinterpret_cast<Word>(wglGetProcAddress(gl)));
            };
            const auto pause = [](DWORD milliseconds) { paused += milliseconds; };
            *entry = name == "wglGetProcAddress" ? reinterpret_cast<Word>(+find)
                     : name == "Sleep"           ? reinterpret_cast<Word>(+pause)
                                                 : Counted(name, *entry);
        }
    }
}

/// Fails, then pre-initialises and loads twice with every kind of input, on screen and off it; resizes.
void UseInstances(const preview::ModuleLibrary& library) {
    ModuleRun failing("no document", {}, library);
    EXPECT_EQ(failing.Frames(2), FrameResult::Failed);
    EXPECT_EQ(paused, 0U);
    failing.Session().Control("Playlist File(s)")->files.fileName[0] = L'\0';
    EXPECT_EQ(failing.Frames(2), FrameResult::Failed);
    EXPECT_EQ(paused, 20U) << "without a playlist, a host that retries would spin";

    const std::string media = PIXELFORGE_SOURCE_DIR "/examples/media/";
    const std::string white = MainImage("c = vec4(1);");
    const std::vector<Input> live = {
        {.ctype = "keyboard"}, {.channel = 1, .ctype = "music"}, {.channel = 2, .ctype = "webcam"}};
    const std::vector<Input> files = {{.filter = "mipmap"},
                                      {.channel = 1, .ctype = "texture", .src = media + "room.png"},
                                      {.channel = 2, .ctype = "cubemap", .src = media + "evening.png"},
                                      {.channel = 3, .ctype = "volume", .src = media + "clouds.bin"}};
    const std::string cube = "void mainCubemap(out vec4 c, vec2 p, vec3 o, vec3 d) { c = vec4(d, 1); }";
    const std::string document = DocumentBuilder()
                                     .Buffer('A', white, live)
                                     .Pass("cubemap", "Cube A", cube, {{.id = 41}})
                                     .Image(white, files)
                                     .Json();
    RunOptions options = {.settings = {{"Multi-Sample", "1"}, {"Foreground Only", "1"}, {"X Tiling", "3"}}};
    for (const bool offscreen : {false, true}) {
        options.levelOutput = offscreen;
        ModuleRun run(document, options, library);
        EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
        const int before = allocations;
        EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
        EXPECT_EQ(allocations, before) << "in the steady state";
        const preview::HostSurface smaller(20, 12);
        if (!offscreen) {
            DrawContext& context = run.Session().Context();
            run.Session().Window().SetClientSize(context.width = 20, context.height = 12);
            context.bitmap = smaller.Bitmap();
            EXPECT_EQ(run.Frames(2), FrameResult::Drawn) << "the module follows the window";
        }
        EXPECT_TRUE(run.Session().Refit(40, 24));
        EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
        EXPECT_EQ(run.Words(), "");
    }
}

/// Its own copy of the module, which no other test keeps loaded.
TEST(Census, InstancesReleaseAllAndSteadyFramesAllocateNothing) {
    const TempFolder folder;
    const std::filesystem::path path = folder.Path() / "Census.dll";
    std::filesystem::copy_file(preview::ModulePathBesideProgram(), path);
    std::thread([&path] {
        const preview::ModuleLibrary library(path.wstring());
        CountImportsOf(GetModuleHandleW(path.c_str()));
        UseInstances(library);
        EXPECT_EQ(unreleased.size(), 15U) << "not everything was counted";
        for (const auto& [release, count] : unreleased) {
            EXPECT_EQ(count, release == "GlobalFree" ? 1 : 0) << release << ", 1 for this thread's exception";
        }
    }).join();
}

}  // namespace
}  // namespace pixelforge::test
