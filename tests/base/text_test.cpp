// Conversions and bounded formatting.
#include "base/text.h"

#include <gtest/gtest.h>

#include <iterator>

namespace pixelforge {
namespace {

using namespace std::string_view_literals;

TEST(Utf8, IsJudgedByEveryRule) {
    for (const std::string_view good :
         {""sv, "abc"sv, "\x7F"sv, "\xC2\x80"sv, "\xDF\xBF"sv, "\xE0\xA0\x80"sv, "\xED\x9F\xBF"sv,
          "\xEE\x80\x80"sv, "\xF0\x90\x80\x80"sv, "\xF4\x8F\xBF\xBF"sv, "a\0b"sv}) {
        EXPECT_TRUE(IsValidUtf8(good)) << testing::PrintToString(good);
    }
    for (const std::string_view bad : {"\x80"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xC3"sv, "\xC3("sv,
                                       "\xE0\x9F\xBF"sv, "\xED\xA0\x80"sv, "\xE2\x82"sv, "\xF0\x8F\xBF\xBF"sv,
                                       "\xF4\x90\x80\x80"sv, "\xF5\x80\x80\x80"sv, "\xFF"sv, "ok\xE4"sv}) {
        EXPECT_FALSE(IsValidUtf8(bad)) << testing::PrintToString(bad);
        EXPECT_EQ(DetectEncoding(bad), TextEncoding::AnsiCodePage);
        EXPECT_FALSE(Widen(bad, TextEncoding::Utf8)) << testing::PrintToString(bad);
    }
}

TEST(Conversion, GoesBothWays) {
    const struct {
        std::string_view bytes;
        TextEncoding encoding;
        std::wstring units;
    } cases[] = {
        {"", TextEncoding::AnsiCodePage, L""},
        {"a\0b"sv, TextEncoding::Utf8, std::wstring(L"a\0b", 3)},
        {"\xC3\xA4\xE2\x82\xAC", TextEncoding::Utf8, L"\u00E4\u20AC"},
        {"\xF0\x9F\x98\x80!", TextEncoding::Utf8, {wchar_t(0xD83D), wchar_t(0xDE00), L'!'}},
        {"\xF4\x8F\xBF\xBF", TextEncoding::Utf8, {wchar_t(0xDBFF), wchar_t(0xDFFF)}},
        {"\xE4\x80\x9F\x81\xFF",
         TextEncoding::AnsiCodePage,
         {wchar_t(0xE4), wchar_t(0x20AC), wchar_t(0x178), wchar_t(0x81), wchar_t(0xFF)}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(Widen(each.bytes, each.encoding), each.units) << testing::PrintToString(each.bytes);
        EXPECT_EQ(Narrow(each.units, each.encoding), each.bytes) << testing::PrintToString(each.bytes);
    }
}

TEST(Conversion, ReplacesWhatTheTargetCannotHold) {
    const wchar_t high = 0xD83D;
    const wchar_t low = 0xDE00;
    EXPECT_EQ(Narrow(L"\u0416\u0100b", TextEncoding::AnsiCodePage), "??b") << "no look-alikes";
    EXPECT_EQ(Narrow(std::wstring{high, low}, TextEncoding::AnsiCodePage), "??");
    EXPECT_EQ(Narrow(std::wstring{high, L'x'}, TextEncoding::Utf8), "\xEF\xBF\xBDx");
    EXPECT_EQ(Narrow(std::wstring{low, high}, TextEncoding::Utf8), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(FormatBounded, ReportsCutTexts) {
    wchar_t field[8] = {};
    EXPECT_EQ(FormatBounded(field, std::size(field), L"%c%%%04x", L'\u20AC', 0xAB), kFormatComplete);
    EXPECT_STREQ(field, L"\u20AC%00ab");
    EXPECT_EQ(FormatBounded(field, std::size(field), L"%-3s%5.2s|", L"a", L"bcd"), kFormatCut);
    EXPECT_STREQ(field, L"a     b") << "width and precision count, and the end is cut";

    EXPECT_EQ(FormatBounded(field, 8, L"%s", L"1234567"), kFormatComplete);
    EXPECT_EQ(FormatBounded(field, 7, L"%s", L"1234567"), kFormatCut) << "no room for the terminator";
    EXPECT_STREQ(field, L"123456");
    EXPECT_EQ(FormatBounded(field, 0, L"x"), kFormatBadCapacity);
    EXPECT_EQ(FormatBounded(field, 0x80000000u, L"x"), kFormatBadCapacity);
    EXPECT_STREQ(field, L"");
}

}  // namespace
}  // namespace pixelforge
