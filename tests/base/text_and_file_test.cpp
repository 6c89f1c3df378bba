// Conversions, bounded formatting, line ends, whole-file reads, and which names documents may open.
#include "base/text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>

#include "base/file.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

using namespace std::literals;

TEST(Conversion, RoundTripsInTheDetectedEncoding) {
    const std::tuple<std::string_view, TextEncoding, std::wstring> cases[] = {
        {""sv, TextEncoding::Utf8, L""},
        {"a\0b\x7F"sv, TextEncoding::Utf8, std::wstring(L"a\0b\x7F", 4)},
        {"\xC2\x80\xDF\xBF\xE0\xA0\x80"sv, TextEncoding::Utf8, L"\x80\x7FF\x800"},
        {"\xED\x9F\xBF\xEE\x80\x80"sv, TextEncoding::Utf8, L"\xD7FF\xE000"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv, TextEncoding::Utf8, {0xD800, 0xDC00, 0xDBFF, 0xDFFF}},
        {"\xE4\x80\x9F\x81\xFF"sv, TextEncoding::AnsiCodePage, {0xE4, 0x20AC, 0x178, 0x81, 0xFF}}};
    for (const auto& [bytes, encoding, units] : cases) {
        EXPECT_EQ(DetectEncoding(bytes), encoding) << testing::PrintToString(bytes);
        EXPECT_EQ(Widen(bytes, encoding), units) << testing::PrintToString(bytes);
        EXPECT_EQ(Narrow(units, encoding), bytes) << testing::PrintToString(bytes);
    }
}

TEST(Conversion, RejectsMalformedUtf8) {
    for (const std::string_view bad :
         {"\x80"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xC3"sv, "\xC3("sv, "\xE0\x9F\xBF"sv, "\xED\xA0\x80"sv,
          "\xED\xBF\xBF"sv, "\xE2\x82"sv, "\xF0\x8F\xBF\xBF"sv, "\xF4\x90\x80\x80"sv, "\xF5\x80\x80\x80"sv,
          "\xFF"sv, "ok\xE4"sv}) {
        EXPECT_FALSE(IsValidUtf8(bad)) << testing::PrintToString(bad);
        EXPECT_FALSE(Widen(bad, TextEncoding::Utf8)) << testing::PrintToString(bad);
    }
}

TEST(Conversion, ReplacesCharactersWithoutAnEquivalent) {
    EXPECT_EQ(Narrow(L"\u0416\u0100b", TextEncoding::AnsiCodePage), "??b") << "no best-fit characters";
    EXPECT_EQ(Narrow(std::wstring{0xD83D, 0xDE00}, TextEncoding::AnsiCodePage), "??");
    EXPECT_EQ(Narrow(std::wstring{0xDE00, 0xD83D, L'x'}, TextEncoding::Utf8), "\xEF\xBF\xBD\xEF\xBF\xBDx");
}

TEST(FormatBounded, ReportsTruncation) {
    wchar_t field[8] = {};
    EXPECT_EQ(FormatBounded(field, 8, L"%c%%%04x", L'\u20AC', 0xAB), kFormatComplete);
    EXPECT_STREQ(field, L"\u20AC%00ab");
    EXPECT_EQ(FormatBounded(field, 7, L"%s", L"1234567"), kFormatCut) << "no room for the terminator";
    EXPECT_STREQ(field, L"123456");
    EXPECT_EQ(FormatBounded(field, 0, L"x"), kFormatBadCapacity);
    EXPECT_EQ(FormatBounded(field, 0x80000000u, L"x"), kFormatBadCapacity);
    EXPECT_STREQ(field, L"");
}

TEST(Text, IsCutToFieldsMadePrintableAndCompared) {
    wchar_t field[4] = {};
    for (const auto& [text, cut] : {std::pair(L"abcd"sv, L"abc"), {L"ab\0c"sv, L"ab"}}) {
        CopyCut(field, text);
        EXPECT_STREQ(field, cut);
    }
    EXPECT_EQ(WithoutControls("\x1F ~\x7F\xC2\x80\xC2\x9F\xC2\xA0"sv), "  ~   \xC2\xA0");
    EXPECT_TRUE(EqualIgnoringAsciiCase(L"aZ", L"Az"));
    EXPECT_FALSE(EqualIgnoringAsciiCase(L"@[", L"`{") || StartsWithIgnoringAsciiCase(L"a", L"ab"));
    char text[8] = "a\r\n\r";
    EndWithOneNewline(text);
    EXPECT_STREQ(text, "a\n");
}

TEST(NormalizeLineEnds, TurnsEveryLineEndIntoOneNewlineWithinTheCapacity) {
    const std::tuple<std::string, std::size_t, const char*> cases[] = {
        {"a\r\nb\n\rc\rd\ne\r", 64, "a\nb\nc\nd\ne\n"},
        {"\r\n\r\n", 64, "\n\n"},
        {"\r\n\n", 64, "\n\n"},
        {"ab\r\ncd", 5, "ab\nc"},
        {"ab\r\ncd", 4, "ab\n"},
        {"ab", 1, ""},
        {"\n\na\r\r", 64, "\n\na\n\n"}};
    for (const auto& [source, capacity, expected] : cases) {
        std::string text = source + std::string(64, '\0');
        NormalizeLineEnds(text.data(), text.data(), capacity);
        EXPECT_STREQ(text.c_str(), expected) << testing::PrintToString(source);
    }
}

/// The file is larger than one read.
TEST(ReadWholeFile, ReadsDiskFilesOnlyAndAppendsZeros) {
    const std::string bytes = std::string(64 << 20, 'x') + "y";
    const test::TempFile file(bytes, L"-\u00E4\u732B.bin");
    std::uint32_t size = 0;
    const HeapBytes block = ReadWholeFile(file.Path().c_str(), &size);
    ASSERT_TRUE(block);
    EXPECT_TRUE(std::string(block.get(), block.get() + size + 4) == bytes + std::string(4, '\0'));
    const std::wstring folder = std::filesystem::temp_directory_path().wstring();
    for (const wchar_t* path :
         {static_cast<const wchar_t*>(nullptr), L"", L"no such file", L"NUL", folder.c_str()}) {
        EXPECT_FALSE(ReadWholeFile(path, &size)) << testing::PrintToString(path);
    }
}

TEST(FolderOfPath, EndsWithTheSeparatorOrTheDriveIfItFits) {
    wchar_t folder[kPathUnits];
    const std::wstring longest(kPathUnits - 2, L'a');
    for (const std::wstring& path : {L"C:\\a/"s, L"C:"s, L""s, longest + L"/"}) {
        EXPECT_EQ(FolderOfPath((path + L"b").c_str(), folder) ? folder : L"none", path);
    }
    EXPECT_FALSE(FolderOfPath((longest + L"a/").c_str(), folder) || FolderOfPath(L"", folder));
}

TEST(FileNames, MayOnlyNameLocalFiles) {
    const auto expect = [](bool openable, bool plain, std::initializer_list<std::wstring_view> names) {
        for (const std::wstring_view name : names) {
            EXPECT_EQ(IsOpenableLocalName(name), openable) << testing::PrintToString(name);
            EXPECT_EQ(IsPlainFileName(name), plain) << testing::PrintToString(name);
        }
    };
    expect(false, false, {L"", L"C:", L"1:\\a", L"ab:stream", L"C:\\a:b", L"a.", L"a ", L"dir./b", L"..."});
    // devices
    expect(false, false,
           {L"CON", L"con.txt", L"x/NUL", L"aux.tar.gz", L"C:\\prn\\a", L"C:nul", L"Com1", L"lpt9.x",
            L"COM\u00B2", L"nul .txt", L" nul", L"CONIN$"});
    // network and device paths in every spelling
    expect(false, false,
           {L"\\\\server\\share\\a", L"//server/share/a", L"\\/server/a", L"\\\\?\\C:\\a", L"\\\\.\\COM1",
            L"//./pipe/x", L"\\??\\C:\\a"});
    // characters that no file system stores, and too many
    expect(false, false,
           {L"a\nb", L"a<b", L"a>b", L"a|b", L"a\"b", L"a?b", L"a*b", L"\0"sv, std::wstring(256, L'a')});
    expect(true, false,
           {L".", L"..", L"media/a.png", L"..\\textures\\a.png", L"./a", L"C:\\shaders\\a.json", L"C:a",
            L"/rooted", L"\\rooted", L"a\\\\b", L"a\\", L"folder.d/x"});
    expect(true, true,
           {L"a.png", L"a b", L"..a", L"console.txt", L"com.txt", L"com10", L".hidden", L"nul_",
            L"\u00FCber \u732B.png", std::wstring(255, L'a')});
}

}  // namespace
}  // namespace pixelforge
