// Names of cached files, and how the download buffer grows for any announced and sent length.
#include "service/shader_cache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>
#include <tuple>

#include "base/load_error.h"
#include "service/download_buffer.h"
#include "service/service_urls.h"

namespace pixelforge {
namespace {

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
        // The low bytes in base 32.
        {documents + L"query/", L"Searches\\.json"},
        {documents + L"query/f", L"Searches\\MYAAAAAA.json"},
        {documents + L"query/foobar", L"Searches\\MZXW6YTBOIAAAAAA.json"},
        {documents + L"query/\u00FF\u0100\u4E2D\uFFFF\u0101", L"Searches\\74AC37YB.json"},
        {documents + L"query/media/a/", L"Searches\\NVSWI2LBF5QS6AAA.json"},
        {documents + L"query/" + std::wstring(161, L'q'), L""},
        {L"https://x/media/a/b.jpg", L"Assets\\b.jpg"},
        {L"https://x/media/a/b?key=1", L""},
        {L"https://x/media/a/api/v1/shaders/q", L""},
        {L"https://x/", L""}};
    for (const auto& [url, name] : cases) {
        CacheEntry entry;
        EXPECT_EQ(ClassifyUrl(url.c_str(), entry) ? entry.name : L"", name) << testing::PrintToString(url);
    }
    wchar_t name[kPathUnits];
    EXPECT_TRUE(EncodeQueryName(std::wstring(160, L'q').c_str(), name));
    EXPECT_EQ(std::wstring(name).substr(240), L"OFYXC4LROFYXC4LR");
}

TEST(DownloadBuffer, StartsAtTheAnnouncedLengthAndDoublesWhenFullUpToTheLimit) {
    const std::tuple<std::uint32_t, std::size_t, std::uint64_t> cases[] = {
        {0, 0, 4096},    {0, 4096, 8192}, {0, 65536, 100000},     {0, 100000, 100000},
        {100, 100, 100}, {100, 200, 400}, {3000, 100000, 100000}, {100000, 100000, 100000}};
    for (const auto& [announced, sent, capacity] : cases) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{1000}, std::size_t{1} << 20}) {
            std::string bytes(sent, '\0');
            std::iota(bytes.begin(), bytes.end(), '\1');
            DownloadBuffer buffer;
            buffer.Start(announced, {100000, "too large"});
            while (buffer.Count() < sent) {
                const auto room = buffer.Room();
                ASSERT_FALSE(room.empty());
                buffer.Add(bytes.copy(reinterpret_cast<char*>(room.data()), std::min(room.size(), piece),
                                      buffer.Count()));
            }
            EXPECT_EQ(buffer.Capacity(), capacity) << announced << " " << sent;
            ASSERT_FALSE(buffer.Room().empty());
            if (sent == 100000) {
                EXPECT_EQ(FailureOf([&] { buffer.Add(1); }), "too large");
            }
            // Terminated by the spare byte.
            EXPECT_EQ(std::memcmp(buffer.Take().get(), bytes.c_str(), sent + 1), 0);
        }
    }
    EXPECT_EQ(FailureOf([] { DownloadBuffer().Start(9001, {9000, "too large"}); }), "too large");
    EXPECT_THROW(DownloadBuffer().Start((1u << 30) + 1), LoadError);
}

}  // namespace
}  // namespace pixelforge
