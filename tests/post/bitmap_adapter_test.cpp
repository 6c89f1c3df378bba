// Which `BITMAP` records the kernels accept.
#include "post/bitmap_adapter.h"

#include <gtest/gtest.h>

namespace pixelforge {
namespace {

TEST(BitmapAdapter, AcceptsOnly32BitPictures) {
    std::uint32_t pixels[30] = {};
    const BITMAP words = {0, 6, 5, 24, 1, 32, pixels};
    const BITMAP small = {0, 3, 7, 12, 1, 32, pixels};
    const BITMAP bytes = {0, 6, 5, 20, 1, 24, pixels};
    EXPECT_EQ(SharedPixelCount(&words, &small) + SharedPixelCount(&small, &words), 42U);
    EXPECT_EQ(SharedPixelCount(&bytes, &words) + SharedPixelCount(&words, &bytes), 0U);
    EXPECT_EQ(TileRemap(&bytes, &words, 0, 0, 6, 5, 2, 2, 0), 0);
    EXPECT_EQ(TileRemap(&words, &bytes, 0, 0, 6, 5, 2, 2, 0), 0);
}

}  // namespace
}  // namespace pixelforge
