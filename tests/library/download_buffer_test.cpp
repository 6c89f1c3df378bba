// How a download's block grows, whatever lengths are announced and sent.
#include "library/download_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace pixelforge {
namespace {

/// Writes `size` bytes in pieces of at most `piece` bytes.
bool Fill(DownloadBuffer& buffer, std::size_t size, std::size_t piece) {
    for (std::size_t done = 0; done < size;) {
        const auto room = buffer.Room();
        const std::size_t count = std::min({room.size(), piece, size - done});
        for (std::size_t i = 0; i < count; ++i) {
            room[i] = static_cast<std::uint8_t>((done + i) % 253 + 1);
        }
        done += count;
        if (!buffer.Add(count)) {
            return false;
        }
    }
    return true;
}

struct Growth {
    std::uint32_t announced;
    std::size_t sent;
    std::uint64_t capacity;
};

TEST(DownloadBuffer, StartsAtTheAnnouncedLengthAndDoublesWhenFull) {
    for (const Growth& growth : {
             Growth{0, 0, 4096},
             {0, 4096, 8192},
             {0, 100000, 131072},
             {100, 100, 100},
             {100, 200, 400},
         }) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{1000}, std::size_t{1} << 20}) {
            DownloadBuffer buffer;
            EXPECT_FALSE(buffer.Start((1u << 30) + 1));
            ASSERT_TRUE(buffer.Start(growth.announced));
            ASSERT_TRUE(Fill(buffer, growth.sent, piece));
            EXPECT_EQ(buffer.Capacity(), growth.capacity) << growth.announced << " " << growth.sent;
            ASSERT_FALSE(buffer.Room().empty());
            ASSERT_EQ(buffer.Count(), growth.sent);
            const HeapBytes bytes = buffer.Take();
            for (std::size_t i = 0; i < growth.sent; ++i) {
                ASSERT_EQ(bytes[i], i % 253 + 1);
            }
            EXPECT_EQ(bytes[growth.sent], 0);
        }
    }
}

}  // namespace
}  // namespace pixelforge
