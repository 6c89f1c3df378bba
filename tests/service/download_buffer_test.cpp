// How the download buffer grows for any announced and sent length.
#include "service/download_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/load_error.h"

namespace pixelforge {
namespace {

TEST(DownloadBuffer, StartsAtTheAnnouncedLengthAndDoublesWhenFullUpToTheLimit) {
    const struct {
        std::uint32_t announced;
        std::size_t sent;
        std::uint64_t capacity;
    } cases[] = {{0, 0, 4096},    {0, 4096, 8192}, {0, 65536, 100000},     {0, 100000, 100000},
                 {100, 100, 100}, {100, 200, 400}, {3000, 100000, 100000}, {100000, 100000, 100000}};
    for (const auto& [announced, sent, capacity] : cases) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{1000}, std::size_t{1} << 20}) {
            std::string bytes;
            DownloadBuffer buffer;
            buffer.Start(announced, {100000, "too large"});
            while (bytes.size() < sent) {
                const auto part =
                    buffer.Room().first(std::min({buffer.Room().size(), piece, sent - bytes.size()}));
                std::ranges::generate(part, [&] {
                    bytes += static_cast<char>(bytes.size() % 253 + 1);
                    return static_cast<std::uint8_t>(bytes.back());
                });
                buffer.Add(part.size());
            }
            EXPECT_EQ(buffer.Capacity(), capacity) << announced << " " << sent;
            ASSERT_FALSE(buffer.Room().empty());
            ASSERT_EQ(buffer.Count(), sent);
            if (sent == 100000) {
                EXPECT_EQ(FailureOf([&] { buffer.Add(1); }), "too large");
            }
            // Terminated by the spare byte.
            EXPECT_STREQ(reinterpret_cast<const char*>(buffer.Take().get()), bytes.c_str());
        }
    }
    EXPECT_EQ(FailureOf([] { DownloadBuffer().Start(9001, {9000, "too large"}); }), "too large");
    EXPECT_THROW(DownloadBuffer().Start((1u << 30) + 1), LoadError);
}

}  // namespace
}  // namespace pixelforge
