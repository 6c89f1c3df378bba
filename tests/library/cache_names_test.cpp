// Names of cached files against a literal transcription of their rules.
#include "library/cache_names.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "library/service_urls.h"

namespace pixelforge {
namespace {

/// Bit by bit, most significant first, padded with zero bytes to whole groups of 40 bits.
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

std::wstring RandomText(std::mt19937& random, std::size_t length, std::wstring_view alphabet) {
    std::wstring text;
    while (text.size() < length) {
        text += alphabet[random() % alphabet.size()];
    }
    return text;
}

TEST(EncodeQueryName, EqualsTheBitByBitEncodingUpTo160Characters) {
    std::mt19937 random(5);
    wchar_t name[kPathUnits];
    for (std::size_t length = 0; length <= 160; ++length) {
        const std::wstring text = RandomText(random, length, L"ab?=&%\u00E9\u4E2D\uFFFF\u0101");
        ASSERT_TRUE(EncodeQueryName(text.c_str(), name));
        EXPECT_EQ(name, EncodedBitByBit(text));
    }
    EXPECT_FALSE(EncodeQueryName(std::wstring(161, L'a').c_str(), name));
}

TEST(CachedNameForShaderId, KeepsCapitalsAsAMask) {
    wchar_t name[kPathUnits];
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"XyzABc", L"xyzabc_19"},
        {L"09_-zZ", L"09_-zz_20"},
        {std::wstring(20, L'Q'), std::wstring(20, L'q') + L"_FFFFF"},
    };
    for (const auto& [id, expected] : cases) {
        ASSERT_TRUE(CachedNameForShaderId(id.c_str(), name));
        EXPECT_EQ(name, expected);
    }
    EXPECT_FALSE(CachedNameForShaderId(L"", name));
    EXPECT_FALSE(CachedNameForShaderId(std::wstring(21, L'a').c_str(), name));
}

TEST(ClassifyUrl, LooksForSearchesThenMediaThenDocuments) {
    struct Case {
        const wchar_t* url;
        const wchar_t* name;  ///< null: refused
    };
    for (const Case& each : {
             Case{L"https://x/api/v1/shaders/AbC?key=k", L"Shaders\\abc_5.json"},
             {L"https://x/api/v1/shaders/abc", L"Shaders\\abc_0.json"},
             {L"https://x/media/a/b.jpg", L"Assets\\b.jpg"},
             {L"https://x/media/a/b?key=1", nullptr},
             {L"https://x/api/v1/shaders/query/f", L"Searches\\MYAAAAAA.json"},
             {L"https://x/api/v1/shaders/query/media/a/", L"Searches\\NVSWI2LBF5QS6AAA.json"},
             {L"https://x/media/a/api/v1/shaders/q", nullptr},
             {L"https://x/api/v1/shaders/?key=k", nullptr},
             {L"https://x/api/v1/shaders/..%2F?key=k", L"Shaders\\..%2f_10.json"},
             {L"https://x/", nullptr},
         }) {
        CacheEntry entry;
        EXPECT_EQ(ClassifyUrl(each.url, entry), each.name != nullptr) << testing::PrintToString(each.url);
        if (each.name) {
            EXPECT_EQ(std::wstring(entry.name), each.name);
        }
    }
}

}  // namespace
}  // namespace pixelforge
