// Names that strangers may and may not have opened.
#include "base/file_names.h"

#include <gtest/gtest.h>

namespace pixelforge {
namespace {

TEST(IsOpenableLocalName, AcceptsOrdinaryFiles) {
    for (const wchar_t* name :
         {L"a.png", L"media/a.png", L"..\\textures\\a.png", L"./a", L"C:\\shaders\\a.json", L"d:a.json",
          L"\\rooted", L"a\\\\b", L"\u00FCber \u732B.png", L"console.txt", L"com.txt", L"com10", L"nul_",
          L".hidden", L"folder.d/x", L"a b"}) {
        EXPECT_TRUE(IsOpenableLocalName(name)) << testing::PrintToString(name);
    }
}

TEST(IsOpenableLocalName, RefusesWhatIsNoLocalFile) {
    for (const wchar_t* name :
         {L"", L"C:", L"a.", L"a ", L"dir./b", L"...", L"ab:stream", L"C:\\a:b", L"1:\\a"}) {
        EXPECT_FALSE(IsOpenableLocalName(name)) << testing::PrintToString(name);
    }
    for (const wchar_t* device : {L"CON", L"con.txt", L"x/NUL", L"aux.tar.gz", L"C:\\prn\\a", L"C:nul",
                                  L"Com1", L"lpt9.x", L"COM\u00B2", L"nul .txt", L"CONIN$"}) {
        EXPECT_FALSE(IsOpenableLocalName(device)) << testing::PrintToString(device);
    }
    for (const wchar_t* remote : {L"\\\\server\\share\\a", L"//server/share/a", L"\\/server/a",
                                  L"\\\\?\\C:\\a", L"\\\\.\\COM1", L"//./pipe/x", L"\\??\\C:\\a"}) {
        EXPECT_FALSE(IsOpenableLocalName(remote)) << testing::PrintToString(remote);
    }
    for (const wchar_t letter : std::wstring_view(L"\0\n<>|\"?*", 8)) {
        EXPECT_FALSE(IsOpenableLocalName(std::wstring{L'a', letter, L'b'})) << static_cast<int>(letter);
    }
}

TEST(IsPlainFileName, AcceptsNamesThatStayInTheirFolder) {
    for (const wchar_t* name : {L"a.png", L"a b", L"..a"}) {
        EXPECT_TRUE(IsPlainFileName(name)) << testing::PrintToString(name);
    }
    for (const wchar_t* name : {L"", L".", L"..", L"a/b", L"a\\b", L"/a", L"a\\", L"C:a", L"a:b", L"\\\\s\\a",
                                L"CON", L"lpt1.png", L"a.", L"a ", L"a?b"}) {
        EXPECT_FALSE(IsPlainFileName(name)) << testing::PrintToString(name);
    }
    EXPECT_TRUE(IsPlainFileName(std::wstring(255, L'a')));
    EXPECT_FALSE(IsPlainFileName(std::wstring(256, L'a')));
}

}  // namespace
}  // namespace pixelforge
