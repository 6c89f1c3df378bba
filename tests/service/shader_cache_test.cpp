// Names of cached files.
#include "service/shader_cache.h"

#include <gtest/gtest.h>

#include <string>

#include "service/service_urls.h"

namespace pixelforge {
namespace {

TEST(EncodeQueryName, WritesTheLowBytesInBase32UpTo160Characters) {
    std::wstring longest;
    for (int i = 0; i < 32; ++i) {
        longest += L"OFYXC4LR";
    }
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"", L""},
        {L"f", L"MYAAAAAA"},
        {L"foobar", L"MZXW6YTBOIAAAAAA"},
        {L"\u00FF\u0100\u4E2D\uFFFF\u0101", L"74AC37YB"},
        {std::wstring(160, L'q'), longest},
    };
    wchar_t name[kPathUnits];
    for (const auto& [query, expected] : cases) {
        ASSERT_TRUE(EncodeQueryName(query.c_str(), name));
        EXPECT_EQ(name, expected);
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
        const bool known = ClassifyUrl(url.c_str(), entry);
        EXPECT_EQ(known ? entry.name : L"", name) << testing::PrintToString(url);
    }
}

TEST(FormatUrl, EncodesAllButUnreservedCharactersAndRefusesDotSegments) {
    wchar_t url[kPathUnits];
    EXPECT_TRUE(FormatMediaUrl(L"aZ09-._~ /\u00E4", url));
    EXPECT_TRUE(std::wstring_view(url).ends_with(L"/media/a/aZ09-._~%20%2F%C3%A4")) << url;
    for (const wchar_t* name : {L".", L".."}) {
        EXPECT_FALSE(FormatMediaUrl(name, url) || FormatShaderUrl(name, url));
    }
}

}  // namespace
}  // namespace pixelforge
