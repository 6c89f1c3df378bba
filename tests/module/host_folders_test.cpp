// The three kinds of installation.
#include "module/host_folders.h"

#include <gtest/gtest.h>

#include <string>

namespace pixelforge {
namespace {

TEST(FindHostFolders, DistinguishesTheThreeKindsOfInstallation) {
    const std::wstring files = L"C:\\Program Files";
    const std::wstring app = L"C:\\Users\\u\\Roaming";
    const std::wstring installed = files + L"\\Larkvane\\Moonreel";
    const struct {
        std::wstring programPath, programFiles, appData;
        std::wstring program, library, data;
        const wchar_t* mode;
    } cases[] = {
        {L"D:\\C\\Projects\\x\\h.exe", files, app, L"D:\\C\\Projects\\x", L"D:\\C\\Projects\\x",
         L"D:\\Moonreel", L"Debugging"},
        {L"D:\\C\\Projects\\h.exe", L"D:\\C", app, L"D:\\C\\Projects", L"D:\\C\\Projects", L"D:\\Moonreel",
         L"Debugging"},
        {files + L"\\a\\h.exe", files, app, installed, installed + L"\\DLL", app + L"\\Larkvane\\Moonreel",
         L"Installed\n"},
        {L"c:\\program files\\h.exe", files, L"C:\\r\\\\", installed, installed + L"\\DLL",
         L"C:\\r\\Larkvane\\Moonreel", L"Installed\n"},
        {files + L"\\h.exe", files + L"\\\\", app, files, files + L"\\DLL", files, L"Portable\n"},
        {files + L"\\h.exe", L"", app, files, files + L"\\DLL", files, L"Portable\n"},
        {L"E:\\h.exe", files, app, L"E:", L"E:\\DLL", L"E:", L"Portable\n"},
        {L"D:\\C\\Projects", L"", L"", L"D:\\C", L"D:\\C\\DLL", L"D:\\C", L"Portable\n"},
        {L"", L"", L"", L"", L"\\DLL", L"", L"Portable\n"},
        {L"E:\\" + std::wstring(257, L'a') + L"\\h.exe", L"", L"", L"", L"\\DLL", L"", L"Portable\n"},
    };
    for (const auto& each : cases) {
        const HostFolders folders = FindHostFolders({.programPath = each.programPath.c_str(),
                                                     .programFiles = each.programFiles.c_str(),
                                                     .appData = each.appData.c_str()});
        SCOPED_TRACE(testing::PrintToString(each.programPath));
        EXPECT_EQ(folders.program, each.program);
        EXPECT_EQ(folders.library, each.library);
        EXPECT_EQ(folders.data, each.data);
        EXPECT_STREQ(folders.mode, each.mode);
    }
}

}  // namespace
}  // namespace pixelforge
