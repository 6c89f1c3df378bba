// Other hosts than `preview`, in real processes: one per kind of installation, and the integrators' example.
#include <gtest/gtest.h>

#include <windows.h>

#include <process.h>
#include <shlobj.h>

#include <cstdio>
#include <iterator>

#include "base/text.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "tests/end_to_end/temp_folder.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {
namespace {

namespace fs = std::filesystem;

fs::path SystemFolder(int folder) {
    wchar_t path[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path);
    return path;
}

std::wstring Quoted(const fs::path& path) {
    return L'"' + path.wstring() + L'"';
}

/// The program, library and data folders that a host in this folder sees, one per line.
std::string FoldersSeenFrom(const fs::path& folder) {
    const fs::path module = preview::ModulePathBesideProgram();
    const fs::path host = folder / "host.exe";
    const fs::path output = folder / "folders.txt";
    fs::create_directories(folder);
    fs::copy_file(module.parent_path() / "host_probe.exe", host, fs::copy_options::overwrite_existing);
    _wspawnl(_P_WAIT, host.c_str(), Quoted(host).c_str(), Quoted(module).c_str(), Quoted(output).c_str(),
             static_cast<wchar_t*>(nullptr));
    std::ifstream file(output);
    const std::string lines{std::istreambuf_iterator<char>(file), {}};
    file.close();
    fs::remove(output);
    fs::remove(host);
    return lines;
}

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
    const fs::path portable = temp.Path();
    const fs::path installed = SystemFolder(CSIDL_PROGRAM_FILES) / "Larkvane" / "Moonreel";
    const fs::path ofTheUser = SystemFolder(CSIDL_APPDATA) / "Larkvane" / "Moonreel";
    const fs::path developed = "D:\\C\\Projects\\pixelforge test";
    const struct {
        fs::path host, program, library, data;
    } cases[] = {
        {portable, portable, portable / "DLL", portable},
        {installed / "test", installed, installed / "DLL", ofTheUser},
        {developed, developed, developed, "D:\\Moonreel"},
    };
    for (const auto& [host, program, library, data] : cases) {
        const fs::path tree = data / "Pixelforge";
        const bool cacheWasThere = fs::exists(tree / "PixelforgeCache");
        fs::create_directories(data);
        EXPECT_EQ(FoldersSeenFrom(host),
                  program.string() + "\n" + library.string() + "\n" + data.string() + "\n");
        for (const char* made :
             {"Shaders", "PixelforgeCache/Shaders", "PixelforgeCache/Assets", "PixelforgeCache/Searches"}) {
            EXPECT_TRUE(fs::is_directory(tree / made)) << tree << ": " << made;
        }
        if (host == portable) {
            continue;  // the temporary folder removes itself
        }
        if (!cacheWasThere) {
            fs::remove_all(tree / "PixelforgeCache");
        }
        RemoveEmptyFolders(tree / "Shaders");
        RemoveEmptyFolders(host);
    }
}

TEST(ExampleHost, DrawsAPlaylist) {
    const std::string document =
        DocumentBuilder().Image(MainImage("c = vec4(1.0, iFrame == 58 ? 0.6 : 0.0, 0.2, 1.0);")).Json();
    const auto shader = preview::StagedShader::OfDocument(BytesOf(document));
    const fs::path host = fs::path(preview::ModulePathBesideProgram()).parent_path() / "example_host.exe";
    FILE* output = _popen((host.string() + " " + shader.PlaylistName()).c_str(), "r");
    char color[16] = {};
    EXPECT_TRUE(output && std::fgets(color, sizeof color, output));
    EXPECT_EQ(_pclose(output), 0);
    EXPECT_STREQ(color, "ff9933\n");
}

}  // namespace
}  // namespace pixelforge::test
