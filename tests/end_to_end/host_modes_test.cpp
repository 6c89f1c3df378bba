// Hosts in real processes: each kind of installation, the integrators' example, and which libraries load.
#include <gtest/gtest.h>

#include <windows.h>

#include <process.h>

#include <cstdio>

#include "base/text.h"
#include "preview/host/file_paths.h"
#include "tests/support/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

namespace fs = std::filesystem;

std::wstring Quoted(const fs::path& path) {
    return L'"' + path.wstring() + L'"';
}

const fs::path kPrograms = fs::path(preview::ModulePathBesideProgram()).parent_path();

/// Removes a folder and its parents while they are empty: other hosts may be using them. Never removes a
/// drive's root.
void RemoveEmptyFolders(fs::path folder) {
    std::error_code notEmpty;
    while (folder.has_relative_path() && fs::remove(folder, notEmpty)) {
        folder = folder.parent_path();
    }
}

TEST(HostModes, EachKindOfHostGetsItsFoldersAndCache) {
    const TempFolder temp;
    const fs::path output = temp.Path() / "folders";
    const fs::path portable = temp.Path();
    const fs::path installed = fs::path(_wgetenv(L"ProgramFiles")) / "Larkvane" / "Moonreel";
    const fs::path ofTheUser = fs::path(_wgetenv(L"APPDATA")) / "Larkvane" / "Moonreel";
    const struct {
        fs::path host, program, library, data;
        std::wstring longer;  ///< is appended to the host's path
    } cases[] = {
        {portable / "h.exe", portable, portable / "DLL", portable, L""},
        {installed / "test" / "h.exe", installed, installed / "DLL", ofTheUser, L""},
        {portable / "h.exe", "", "\\DLL", "", std::wstring(240, L'x')},
    };
    for (const auto& [host, program, library, data, longer] : cases) {
        fs::create_directories(host.parent_path());
        const fs::path tree = (data.empty() ? "\\" : data) / "Pixelforge";
        fs::create_directories(tree.parent_path());
        fs::copy_file(kPrograms / "host_probe.exe", host, fs::copy_options::overwrite_existing);
        _wspawnl(_P_WAIT, host.c_str(), Quoted(host).c_str(), Quoted(kPrograms / "Pixelforge.dll").c_str(),
                 Quoted(output).c_str(), longer.empty() ? nullptr : longer.c_str(),
                 static_cast<wchar_t*>(nullptr));
        fs::remove(host);
        RemoveEmptyFolders(host.parent_path());
        EXPECT_EQ(preview::ReadInputFile(output),
                  program.string() + "\r\n" + library.string() + "\r\n" + data.string() + "\r\n");
        for (const char* made :
             {"Shaders", "PixelforgeCache/Shaders", "PixelforgeCache/Assets", "PixelforgeCache/Searches"}) {
            EXPECT_EQ(fs::is_directory(tree / made), !data.empty()) << tree << ": " << made;
            RemoveEmptyFolders(tree / made);
        }
    }
}

TEST(ExampleHost, DrawsAPlaylist) {
    const std::string document = ImageDocument("c = vec4(1.0, iFrame == 58 ? 0.6 : 0.0, 0.2, 1.0);");
    const auto shader = preview::StagedShader::OfDocument(BytesOf(document));
    FILE* output =
        _popen(((kPrograms / "example_host.exe").string() + " " + shader.PlaylistName()).c_str(), "r");
    char color[16] = {};
    EXPECT_TRUE(output && std::fgets(color, sizeof color, output));
    EXPECT_EQ(_pclose(output), 0);
    EXPECT_STREQ(color, "ff9933\n");
}

// The sound system looks for this optional library by name alone.
TEST(HostModes, PreviewLoadsNoLibraryFromTheShadersFolder) {
    const TempFolder temp;
    const fs::path mark = temp.Path() / "planted library ran";
    const fs::path library = temp.Path() / "wineoss.drv";
    fs::copy_file(kPrograms / "planted_library.dll", library);
    const fs::path shader = temp.Write("a.glsl", "void mainImage(out vec4 c, vec2 p) { c = vec4(1); }");
    const fs::path preview = kPrograms / "preview.exe";
    EXPECT_EQ(_wspawnl(_P_WAIT, preview.c_str(), Quoted(preview).c_str(), Quoted(shader).c_str(), L"--size",
                       L"64x36", L"--frames", L"60", static_cast<wchar_t*>(nullptr)),
              0);
    EXPECT_FALSE(fs::exists(mark));
    FreeLibrary(LoadLibraryW(library.c_str()));
    EXPECT_TRUE(fs::exists(mark)) << "the planted library would not have shown that it ran";
}

// The system has already stopped all other threads, perhaps while they held the module's locks.
TEST(HostModes, TheModuleDoesNothingWhenTheProcessEnds) {
    const fs::path mark = kPrograms / "planted library ran";
    const auto endWithALiveInstance = [] {
        LoadLibraryW((kPrograms / "planted_library.dll").c_str());  // first, so that it is detached last
        ModuleRun run(ImageDocument("c = vec4(1);"));
        SetWindowTextW(run.Session().Window().Handle(), L"subclassed");
        run.Frame();
        ExitProcess(7);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(endWithALiveInstance(), testing::ExitedWithCode(7), "");
    EXPECT_EQ(preview::ReadInputFile(mark), "last, beside a subclassed window");
    fs::remove(mark);
}

}  // namespace
}  // namespace pixelforge::test
