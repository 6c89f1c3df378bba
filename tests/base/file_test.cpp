// Whole-file reads, and which names from documents may be opened.
#include "base/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/load_error.h"
#include "base/text.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

TEST(ReadWholeFile, ReturnsTheBytesFollowedByZeros) {
    for (const std::string& bytes : {std::string(), std::string("a\0b\r\n", 5), std::string(3 << 20, 'x')}) {
        const test::TempFile file(bytes, L"-\u00E4\u732B.bin");
        std::uint32_t size = 77;
        const HeapBytes block = ReadWholeFile(file.Path().c_str(), &size);
        ASSERT_TRUE(block);
        ASSERT_EQ(size, bytes.size());
        EXPECT_EQ(std::string(block.get(), block.get() + size + 4), bytes + std::string(4, '\0'));
        EXPECT_TRUE(ReadWholeFile(file.Path().c_str(), &size, {bytes.size(), "too large"}));
        EXPECT_EQ(FailureOf([&] {
                      ReadWholeFile(file.Path().c_str(), &size, {bytes.size() - 1, "too large"});
                  }),
                  bytes.empty() ? "" : "too large");
    }
}

TEST(ReadWholeFile, AcceptsOnlyDiskFiles) {
    const std::wstring folder = std::filesystem::temp_directory_path().wstring();
    std::uint32_t size = 0;
    for (const wchar_t* path :
         {static_cast<const wchar_t*>(nullptr), L"", L"no such file", L"NUL", folder.c_str()}) {
        EXPECT_FALSE(ReadWholeFile(path, &size)) << testing::PrintToString(path);
    }
}

TEST(FolderOfPath, EndsWithTheSeparatorOrTheDriveIfItFits) {
    wchar_t folder[kPathUnits];
    const std::wstring longest(kPathUnits - 2, L'a');
    for (const std::wstring& path :
         {std::wstring(L"C:\\a/"), std::wstring(L"C:"), std::wstring(), longest + L"/"}) {
        EXPECT_EQ(FolderOfPath((path + L"b").c_str(), folder) ? folder : L"none", path);
    }
    EXPECT_FALSE(FolderOfPath((longest + L"a/").c_str(), folder) || FolderOfPath(L"", folder));
}

TEST(FileNames, MayOnlyNameLocalFiles) {
    const std::vector<std::wstring> refused = {
        L"", L"C:", L"1:\\a", L"ab:stream", L"C:\\a:b", L"a.", L"a ", L"dir./b", L"...",
        // devices
        L"CON", L"con.txt", L"x/NUL", L"aux.tar.gz", L"C:\\prn\\a", L"C:nul", L"Com1", L"lpt9.x",
        L"COM\u00B2", L"nul .txt", L" nul", L"CONIN$",
        // network and device paths in every spelling
        L"\\\\server\\share\\a", L"//server/share/a", L"\\/server/a", L"\\\\?\\C:\\a", L"\\\\.\\COM1",
        L"//./pipe/x", L"\\??\\C:\\a",
        // characters that no file system stores
        L"a\nb", L"a<b", L"a>b", L"a|b", L"a\"b", L"a?b", L"a*b", std::wstring(1, L'\0'),
        std::wstring(300, L'a')};
    const std::vector<std::wstring> local = {L".", L"..", L"media/a.png", L"..\\textures\\a.png", L"./a",
                                             // rooted
                                             L"C:\\shaders\\a.json", L"C:a", L"/rooted", L"\\rooted",
                                             L"a\\\\b", L"a\\", L"folder.d/x"};
    const std::vector<std::wstring> plain = {
        L"a.png", L"a b",     L"..a",  L"console.txt",          L"com.txt",
        L"com10", L".hidden", L"nul_", L"\u00FCber \u732B.png", std::wstring(255, L'a')};
    for (int level = 0; level < 3; ++level) {
        for (const std::wstring& name : level == 0 ? refused : level == 1 ? local : plain) {
            EXPECT_EQ(IsOpenableLocalName(name), level > 0) << testing::PrintToString(name);
            EXPECT_EQ(IsPlainFileName(name), level > 1) << testing::PrintToString(name);
        }
    }
}

}  // namespace
}  // namespace pixelforge
