// Where a host program lies decides where the module finds its folders: seen from real processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/win_handles.h"
#include "preview/module_library.h"

namespace pixelforge::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

fs::path OwnFolder() {
    return fs::path(preview::ModulePathBesideProgram()).parent_path();
}

fs::path SystemFolder(int folder) {
    wchar_t path[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path);
    return path;
}

UniqueKernelHandle CreateInheritedFile(const fs::path& path) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    return AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool RunInto(std::wstring command, const fs::path& output) {
    const UniqueKernelHandle file = CreateInheritedFile(output);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file.Get();
    PROCESS_INFORMATION process = {};
    if (!file || !CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                 &startup, &process)) {
        return false;
    }
    const UniqueKernelHandle thread(process.hThread);
    const UniqueKernelHandle whole(process.hProcess);
    return WaitForSingleObject(whole.Get(), 30000) == WAIT_OBJECT_0;
}

/// What a copy of the probe says from a folder, which is made for it and removed with what it made.
class HostModes : public testing::Test {
protected:
    std::vector<std::string> FoldersSeenFrom(const fs::path& folder) {
        Make(folder);
        fs::copy_file(OwnFolder() / "host_probe.exe", folder / "host.exe",
                      fs::copy_options::overwrite_existing);
        const fs::path output = folder / "folders.txt";
        const std::wstring command =
            L"\"" + (folder / "host.exe").wstring() + L"\" \"" + preview::ModulePathBesideProgram() + L"\"";
        EXPECT_TRUE(RunInto(command, output));
        std::ifstream file(output);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// Makes a folder and remembers the outermost one that was missing.
    void Make(const fs::path& folder) {
        fs::path missing;
        for (fs::path each = folder; !fs::exists(each); each = each.parent_path()) {
            missing = each;
        }
        if (!missing.empty()) {
            made_.push_back(missing);
        }
        fs::create_directories(folder);
    }

    void TearDown() override {
        for (const fs::path& folder : made_) {
            std::error_code ignored;
            fs::remove_all(folder, ignored);
        }
    }

private:
    std::vector<fs::path> made_;
};

bool IsCacheTree(const fs::path& data) {
    const fs::path cache = data / "Pixelforge" / "PixelforgeCache";
    return fs::is_directory(data / "Pixelforge" / "Shaders") && fs::is_directory(cache / "Shaders") &&
           fs::is_directory(cache / "Assets") && fs::is_directory(cache / "Searches");
}

TEST_F(HostModes, PortableHostsKeepEverythingBesideThemselves) {
    const fs::path folder =
        fs::temp_directory_path() / ("pixelforge host " + std::to_string(GetTickCount64()));
    const std::string own = folder.string();
    EXPECT_THAT(FoldersSeenFrom(folder), ElementsAre(own, own + "\\DLL", own));
    EXPECT_TRUE(IsCacheTree(folder));
}

TEST_F(HostModes, InstalledHostsKeepTheirDataWithTheUser) {
    const fs::path data = SystemFolder(CSIDL_APPDATA) / "Larkvane" / "Moonreel";
    const fs::path program = SystemFolder(CSIDL_PROGRAM_FILES) / "Larkvane" / "Moonreel";
    Make(data);
    EXPECT_THAT(FoldersSeenFrom(program / "test"),
                ElementsAre(program.string(), program.string() + "\\DLL", data.string()));
    EXPECT_TRUE(IsCacheTree(data));
}

TEST_F(HostModes, HostsUnderDevelopmentUseTheirFixedDataFolder) {
    const fs::path folder = "D:\\C\\Projects\\pixelforge test";
    // Other hosts may be using the data folder at this moment.
    const fs::path data = "D:\\Moonreel\\Pixelforge";
    fs::create_directories(data);
    EXPECT_THAT(FoldersSeenFrom(folder), ElementsAre(folder.string(), folder.string(), "D:\\Moonreel"));
    EXPECT_TRUE(IsCacheTree(data.parent_path()));
    fs::remove_all(data / "PixelforgeCache");
    fs::remove(data / "Shaders");
    for (const fs::path& each : {data, data.parent_path()}) {
        std::error_code notEmpty;
        fs::remove(each, notEmpty);
    }
}

}  // namespace
}  // namespace pixelforge::test
