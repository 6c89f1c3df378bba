// Names that strangers may and may not have opened.
#include "base/file.h"

#include <gtest/gtest.h>

#include <string>

namespace pixelforge {
namespace {

TEST(FileNames, AreOpenedOnlyWhereTheyMeanALocalFile) {
    const std::wstring plain[] = {
        L"a.png", L"a b",     L"..a",  L"console.txt",          L"com.txt",
        L"com10", L".hidden", L"nul_", L"\u00FCber \u732B.png", std::wstring(255, L'a')};
    const std::wstring local[] = {L".",           L"..",
                                  L"media/a.png", L"..\\textures\\a.png",
                                  L"./a",         L"C:\\shaders\\a.json",
                                  L"C:a",         L"/rooted",
                                  L"\\rooted",    L"a\\\\b",
                                  L"a\\",         L"folder.d/x"};
    const std::wstring refused[] = {L"", L"C:", L"1:\\a", L"ab:stream", L"C:\\a:b", L"a.", L"a ", L"dir./b",
                                    L"...",
                                    // devices
                                    L"CON", L"con.txt", L"x/NUL", L"aux.tar.gz", L"C:\\prn\\a", L"C:nul",
                                    L"Com1", L"lpt9.x", L"COM\u00B2", L"nul .txt", L"CONIN$",
                                    // other machines, and ways around the rules
                                    L"\\\\server\\share\\a", L"//server/share/a", L"\\/server/a",
                                    L"\\\\?\\C:\\a", L"\\\\.\\COM1", L"//./pipe/x", L"\\??\\C:\\a",
                                    // what no file system stores
                                    L"a\nb", L"a<b", L"a>b", L"a|b", L"a\"b", L"a?b", L"a*b",
                                    std::wstring(1, L'\0'), std::wstring(300, L'a')};
    for (const std::wstring& name : plain) {
        EXPECT_TRUE(IsOpenableLocalName(name) && IsPlainFileName(name)) << testing::PrintToString(name);
    }
    for (const std::wstring& name : local) {
        EXPECT_TRUE(IsOpenableLocalName(name) && !IsPlainFileName(name)) << testing::PrintToString(name);
    }
    for (const std::wstring& name : refused) {
        EXPECT_FALSE(IsOpenableLocalName(name) || IsPlainFileName(name)) << testing::PrintToString(name);
    }
}

}  // namespace
}  // namespace pixelforge
