// The host's folders in each kind of installation, picks from playlists of every kind, and the notice.
#include "module/host_folders.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "module/overlay.h"
#include "module/playlist.h"
#include "service/service_urls.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

TEST(FindHostFolders, DistinguishesTheThreeKindsOfInstallation) {
    const std::wstring files = L"C:\\Program Files";
    const std::wstring app = L"C:\\Users\\u\\Roaming";
    const std::wstring installed = files + L"\\Larkvane\\Moonreel|" + files + L"\\Larkvane\\Moonreel\\DLL|";
    const std::wstring roaming = L"\\Larkvane\\Moonreel|Installed\n";
    const std::wstring portable = files + L"|" + files + L"\\DLL|" + files + L"|Portable\n";
    // Program path, program files, application data; the three folders and the kind.
    const std::tuple<std::wstring, std::wstring, std::wstring, std::wstring> cases[] = {
        {LR"(D:\C\Projects\x\h)", files, app, LR"(D:\C\Projects\x|D:\C\Projects\x|D:\Moonreel|Debugging)"},
        {LR"(D:\C\Projects\h.exe)", L"D:\\C", app, LR"(D:\C\Projects|D:\C\Projects|D:\Moonreel|Debugging)"},
        {files + LR"(\a\h.exe)", files, app, installed + app + roaming},
        {LR"(c:\program files\h.exe)", files, LR"(C:\r\\)", installed + L"C:\\r" + roaming},
        {files + L"\\h.exe", files + LR"(\\)", app, portable},
        {files + L"\\h.exe", L"", app, portable},
        {L"E:\\h.exe", files, app, L"E:|E:\\DLL|E:|Portable\n"},
        {LR"(D:\C\Projects)", L"", L"", L"D:\\C|D:\\C\\DLL|D:\\C|Portable\n"},
        {L"", L"", L"", L"|\\DLL||Portable\n"},
        {L"E:\\" + std::wstring(257, L'a') + L"\\h.exe", L"", L"", L"|\\DLL||Portable\n"}};
    for (const auto& [program, programFiles, appData, wanted] : cases) {
        const HostFolders got = FindHostFolders({program.c_str(), programFiles.c_str(), appData.c_str()});
        EXPECT_EQ(std::wstring(got.program) + L"|" + got.library + L"|" + got.data + L"|" + got.mode, wanted);
    }
}

TEST(PickShaderId, PicksTheRandomNumberModuloTheLinesWithALineEnd) {
    const std::string several = "\r\na\r\n\r\nb\n\rc\rd\n\ne\nunfinished";
    const std::tuple<std::string, std::uint32_t, const wchar_t*> cases[] = {
        {several, 0, L"a"},
        {several, 0x80000000, L"d"},
        {several, 7, L"c"},
        {"", 0, L""},
        {"\n\r\n\r", 0, L""},
        {"MdX3Rr", 0, L""},
        {"  one # two \n", 0, L"  one # two "},
        {"\xE4\x80\n", 0, L"\u00E4\u20AC"},
        {"\xC3\xA4\n", 0, L"\u00C3\u00A4"},
        {"1234567890123456789\n", 0, L"1234567890123456789"},
        {"12345678901234567890\n", 0, L""},
        {std::string(300000, 'x') + "\n", 0, L""},
        {std::string("a\0b\n", 4), 0, L""}};
    for (const auto& [playlist, number, expected] : cases) {
        static std::uint32_t randomNumber;
        randomNumber = number;
        const test::TempFile file(playlist, L".txt");
        wchar_t id[20] = L"left over";
        EXPECT_EQ(PickShaderId(file.Path().c_str(), id, [] { return randomNumber; }), *expected != L'\0');
        EXPECT_STREQ(id, expected) << testing::PrintToString(playlist.substr(0, 40));
    }
    std::uint32_t ones = 0, zeros = 0;
    for (int i = 0; i < 100; ++i) {
        const std::uint32_t drawn = SystemRandom();
        ones |= drawn;
        zeros |= ~drawn;
    }
    EXPECT_EQ(ones & zeros, 0xFFFFFFFF) << "a bit of the random number never varies";
}

/// Expects the whole notice, with this edit link and shown description.
void ExpectNotice(const std::wstring& id, const std::wstring& name, const std::wstring& author,
                  const std::wstring& description, const std::wstring& shown, const std::wstring& editor = {},
                  const std::wstring& editLink = {}) {
    ShaderInfo info = {};
    CopyCut(info.id, id);
    CopyCut(info.name, name);
    CopyCut(info.username, author);
    CopyCut(info.description, description);
    std::wstring text(4096, L'#');
    EXPECT_TRUE(ComposeInfoText(info, editor.c_str(), text));
    text.resize(text.find(L'\0'));
    const std::wstring host = L"https://" + std::wstring(kServiceHost);
    const auto field = [&](const std::wstring& page, const std::wstring& label) {
        return L"\\cf3{\\field{\\*\\fldinst HYPERLINK \"" + host + page + L"\"}{\\fldrslt " + label + L"}}";
    };
    EXPECT_EQ(text,
              L"{\\rtf1\\ansi\\deff0{\\colortbl;\\red%lu\\green%lu\\blue%lu;\\red%lu\\green%lu\\blue%lu;"
              L"\\red%lu\\green%lu\\blue%lu;}\\cf2\\highlight1 \\cf2 Shader: " +
                  field(L"/view/" + id, name) + editLink + L"\\line \\cf2 Author: " +
                  field(L"/user/" + author, author) + L"\\line \\cf2 Description: " + shown + L"\\par}");
    EXPECT_FALSE(ComposeInfoText(info, editor.c_str(), text)) << "no room for the terminator";
}

TEST(Overlay, StripsOnlyTheDescriptionsTrailingLineEnds) {
    const std::pair<std::wstring, std::size_t> cases[] = {
        {L"a {brace}, a } alone", 0},
        {L"C:\\dir \\par \\'41 100% %s %lu \"quoted\" \xD83C\xDF0A", 0},
        {L"first\r\nsecond\n\nthird\n\r\n", 3},
        {L"\r\n\n", 3},
        {L"Text\n\t", 0}};
    for (const auto& [text, removed] : cases) {
        ExpectNotice(L"id", text, text, text, text.substr(0, text.size() - removed));
    }
    const std::wstring longest(259, L'd');
    ExpectNotice(std::wstring(19, L'i'), std::wstring(127, L'n'), std::wstring(63, L'u'), longest, longest);
}

TEST(Overlay, OmitsAnEditLinkThatExceedsItsField) {
    const std::wstring begin = L"\\cf2 \t\t[ \\cf3{\\field{\\*\\fldinst{HYPERLINK \"file://";
    const std::wstring end = L"?Xs3BR4\"}}{\\fldrslt Edit w/GlowBench} \\cf2 ] }";
    const std::size_t room = kPathUnits - 1 - begin.size() - end.size();
    for (const std::size_t length : {room - 1, room, room + 1, room + end.size(), kPathUnits - 1}) {
        const std::wstring editor(length, L'e');
        ExpectNotice(L"Xs3BR4", L"Name", L"Author", L"Text", L"Text", editor,
                     length <= room ? begin + editor + end : L"");
    }
}

}  // namespace
}  // namespace pixelforge
