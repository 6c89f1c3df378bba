// Where the host's files are: the three kinds of installation, and picks from playlists of every kind.
#include "module/host_folders.h"

#include <gtest/gtest.h>

#include <string>

#include "module/playlist.h"
#include "tests/support/temp_file.h"

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

std::uint32_t randomNumber = 0;

/// The entry that the random number picks, or "-" if there is none.
std::wstring Pick(std::string_view playlist, std::uint32_t number = 0) {
    const test::TempFile file(playlist, L".txt");
    wchar_t id[20] = L"left over";
    randomNumber = number;
    if (PickShaderId(file.Path().c_str(), id, [] { return randomNumber; })) {
        return id;
    }
    EXPECT_STREQ(id, L"");
    return L"-";
}

TEST(PickShaderId, IgnoresLinesWithoutALineEnd) {
    const std::pair<std::string, const wchar_t*> cases[] = {
        {"", L"-"},
        {"\n\r\n\r", L"-"},
        {"MdX3Rr", L"-"},
        {"  one # two \n", L"  one # two "},
        {"\xE4\x80\n", L"\u00E4\u20AC"},
        {"\xC3\xA4\n", L"\u00C3\u00A4"},
        {"1234567890123456789\n", L"1234567890123456789"},
        {"12345678901234567890\n", L"-"},
        {std::string(300000, 'x') + "\n", L"-"},
        {std::string("a\0b\n", 4), L"-"},
    };
    for (const auto& [playlist, expected] : cases) {
        EXPECT_EQ(Pick(playlist), expected) << testing::PrintToString(playlist.substr(0, 40));
    }
}

TEST(PickShaderId, PicksTheRandomNumberModuloTheLines) {
    constexpr std::string_view playlist = "\r\na\r\n\r\nb\n\rc\rd\n\ne\nunfinished";
    for (const auto& [number, id] : {std::pair(0u, L"a"), {0x80000000u, L"d"}, {7u, L"c"}}) {
        EXPECT_EQ(Pick(playlist, number), id) << number;
    }
    std::uint32_t ones = 0;
    std::uint32_t zeros = 0;
    for (int i = 0; i < 100; ++i) {
        const std::uint32_t drawn = SystemRandom();
        ones |= drawn;
        zeros |= ~drawn;
    }
    EXPECT_EQ(ones & zeros, 0xFFFFFFFF) << "a bit of the random number never varies";
}

}  // namespace
}  // namespace pixelforge
