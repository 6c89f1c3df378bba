// How the download buffer grows for any announced and sent length.
#include "service/download_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/load_error.h"

namespace pixelforge {
namespace {

TEST(DownloadBuffer, HoldsBodiesUpToTheLimit) {
    for (const std::uint32_t announced : {0u, 3000u, 9000u}) {
        DownloadBuffer buffer;
        buffer.Start(announced, {9000, "too large"});
        while (buffer.Count() < 9000) {
            buffer.Add(std::min<std::size_t>(buffer.Room().size(), 9000 - buffer.Count()));
        }
        EXPECT_EQ(FailureOf([&] { buffer.Add(1); }), "too large") << announced;
        EXPECT_LE(buffer.Capacity(), 9000u);
        EXPECT_EQ(FailureOf([&] { buffer.Start(9001, {9000, "too large"}); }), "too large");
    }
}

TEST(DownloadBuffer, StartsAtTheAnnouncedLengthAndDoublesWhenFull) {
    const struct {
        std::uint32_t announced;
        std::size_t sent;
        std::uint64_t capacity;
    } cases[] = {{0, 0, 4096}, {0, 4096, 8192}, {0, 100000, 131072}, {100, 100, 100}, {100, 200, 400}};
    for (const auto& [announced, sent, capacity] : cases) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{1000}, std::size_t{1} << 20}) {
            std::string bytes;
            DownloadBuffer buffer;
            EXPECT_THROW(buffer.Start((1u << 30) + 1), LoadError);
            buffer.Start(announced);
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
            // Terminated by the spare byte.
            EXPECT_EQ(reinterpret_cast<const char*>(buffer.Take().get()), bytes);
        }
    }
}

}  // namespace
}  // namespace pixelforge
