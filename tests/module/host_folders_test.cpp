// The three kinds of installation.
#include "module/host_folders.h"

#include <gtest/gtest.h>

#include <string>

namespace pixelforge {
namespace {

struct Case {
    std::wstring programPath;
    std::wstring programFiles;
    std::wstring appData;
    const wchar_t* program;
    const wchar_t* library;
    const wchar_t* data;
    const wchar_t* mode;
};

const std::wstring kFiles = L"C:\\Program Files";
const std::wstring kApp = L"C:\\Users\\u\\AppData\\Roaming";

TEST(FindHostFolders, KnowsTheThreeKindsOfInstallation) {
    for (const Case& each : {
             Case{L"D:\\C\\Projects\\x\\h.exe", kFiles, kApp, L"D:\\C\\Projects\\x", L"D:\\C\\Projects\\x",
                  L"D:\\Moonreel", L"Debugging"},
             {L"D:\\C\\Projects\\h.exe", L"D:\\C", kApp, L"D:\\C\\Projects", L"D:\\C\\Projects",
              L"D:\\Moonreel", L"Debugging"},
             {L"C:\\Program Files\\a\\h.exe", kFiles, kApp, L"C:\\Program Files\\Larkvane\\Moonreel",
              L"C:\\Program Files\\Larkvane\\Moonreel\\DLL",
              L"C:\\Users\\u\\AppData\\Roaming\\Larkvane\\Moonreel", L"Installed\n"},
             {L"c:\\program files\\h.exe", kFiles + L"\\\\", L"C:\\r\\", L"c:\\program files",
              L"c:\\program files\\DLL", L"c:\\program files", L"Portable\n"},
             {L"c:\\program files\\h.exe", kFiles, L"C:\\r\\\\", L"C:\\Program Files\\Larkvane\\Moonreel",
              L"C:\\Program Files\\Larkvane\\Moonreel\\DLL", L"C:\\r\\Larkvane\\Moonreel", L"Installed\n"},
             {L"E:\\tools\\h.exe", kFiles, kApp, L"E:\\tools", L"E:\\tools\\DLL", L"E:\\tools",
              L"Portable\n"},
             {L"E:\\h.exe", kFiles, kApp, L"E:", L"E:\\DLL", L"E:", L"Portable\n"},
             {L"C:\\Program Files\\h.exe", L"", kApp, L"C:\\Program Files", L"C:\\Program Files\\DLL",
              L"C:\\Program Files", L"Portable\n"},
             {L"D:\\C\\Projects", L"", L"", L"D:\\C", L"D:\\C\\DLL", L"D:\\C", L"Portable\n"},
             {L"", L"", L"", L"", L"\\DLL", L"", L"Portable\n"},
             {L"E:\\" + std::wstring(257, L'a') + L"\\h.exe", L"", L"", L"", L"\\DLL", L"", L"Portable\n"},
         }) {
        SCOPED_TRACE(testing::PrintToString(each.programPath));
        const HostFolders folders = FindHostFolders({.programPath = each.programPath.c_str(),
                                                     .programFiles = each.programFiles.c_str(),
                                                     .appData = each.appData.c_str()});
        EXPECT_EQ(std::wstring(folders.program), each.program);
        EXPECT_EQ(std::wstring(folders.library), each.library);
        EXPECT_EQ(std::wstring(folders.data), each.data);
        EXPECT_EQ(std::wstring(folders.mode), each.mode);
    }
}

}  // namespace
}  // namespace pixelforge
