// Names of cached files, compared with a reference implementation.
#include "service/shader_cache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "service/service_urls.h"

namespace pixelforge {
namespace {

/// Bit by bit, most significant first, padded with zeros to whole groups of 40 bits.
std::wstring EncodedBitByBit(const std::wstring& text) {
    std::wstring bits;
    for (const wchar_t unit : text) {
        for (int bit = 7; bit >= 0; --bit) {
            bits += (static_cast<std::uint32_t>(unit) >> bit & 1) ? L'1' : L'0';
        }
    }
    bits.resize((bits.size() + 39) / 40 * 40, L'0');
    std::wstring symbols;
    for (std::size_t i = 0; i < bits.size(); i += 5) {
        symbols += L"ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"[std::stoul(bits.substr(i, 5), nullptr, 2)];
    }
    return symbols;
}

TEST(EncodeQueryName, MatchesTheBitByBitEncodingUpTo160Characters) {
    constexpr std::wstring_view kUnits = L"ab?=&%\u00E9\u4E2D\uFFFF\u0101";
    std::mt19937 random(5);
    wchar_t name[kPathUnits];
    for (std::wstring text; text.size() <= 160; text += kUnits[random() % kUnits.size()]) {
        ASSERT_TRUE(EncodeQueryName(text.c_str(), name));
        EXPECT_EQ(name, EncodedBitByBit(text));
    }
    EXPECT_FALSE(EncodeQueryName(std::wstring(161, L'a').c_str(), name));
}

TEST(ClassifyUrl, ChecksForSearchesThenMediaThenDocuments) {
    const std::wstring documents = L"https://x/api/v1/shaders/";
    const std::pair<std::wstring, std::wstring> cases[] = {
        {documents + L"XyzABc?key=k", L"Shaders\\xyzabc_19.json"},
        {documents + L"09_-zz", L"Shaders\\09_-zz_0.json"},
        {documents + std::wstring(20, L'Q'), L"Shaders\\" + std::wstring(20, L'q') + L"_FFFFF.json"},
        {documents + std::wstring(21, L'a'), L""},
        {documents + L"?key=k", L""},
        {documents + L"%C3%A4%2b?key=k", L"Shaders\\\u00E4+_0.json"},
        {documents + L"%2E.?key=k", L""},
        {documents + L"..%2F?key=k", L""},
        {documents + L"a%00?key=k", L""},
        {documents + L"a%E4?key=k", L""},
        {documents + L"a%4?key=k", L""},
        {documents + L"a%?key=k", L""},
        {documents + L"query/f", L"Searches\\MYAAAAAA.json"},
        {documents + L"query/media/a/", L"Searches\\NVSWI2LBF5QS6AAA.json"},
        {documents + L"query/" + std::wstring(161, L'q'), L""},
        {L"https://x/media/a/b.jpg", L"Assets\\b.jpg"},
        {L"https://x/media/a/b?key=1", L""},
        {L"https://x/media/a/api/v1/shaders/q", L""},
        {L"https://x/", L""},
    };
    for (const auto& [url, name] : cases) {
        CacheEntry entry;
        EXPECT_EQ(ClassifyUrl(url.c_str(), entry), !name.empty()) << testing::PrintToString(url);
        if (!name.empty()) {
            EXPECT_EQ(entry.name, name);
        }
    }
}

}  // namespace
}  // namespace pixelforge
