// Rows and pixels of frames that lie either way up.
#include "preview/frame_pixels.h"

#include <gmock/gmock.h>

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;

// Two by two, every byte different: a flip, a swap of channels or a wrong pitch changes each result.
constexpr std::uint8_t kBytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17, 18};

TEST(FramePixels, AreCountedFromThePicturesTop) {
    const FramePixels bottomUp{.bytes = kBytes, .width = 2, .height = 2, .bottomUp = true};
    const FramePixels topDown{.bytes = kBytes, .width = 2, .height = 2, .bottomUp = false};
    EXPECT_EQ(bottomUp.At(1, 0), 0x1211100Fu);
    EXPECT_EQ(bottomUp.At(0, 1), 0x04030201u);
    EXPECT_EQ(topDown.At(1, 0), 0x08070605u);
    EXPECT_EQ(topDown.At(0, 1), 0x0E0D0C0Bu);
}

TEST(FramePixels, LoseTheirAlphaForThePicture) {
    const FramePixels bottomUp{.bytes = kBytes, .width = 2, .height = 2, .bottomUp = true};
    EXPECT_THAT(OpaqueRowsFromTop(bottomUp), ElementsAre(11, 12, 13, 15, 16, 17, 1, 2, 3, 5, 6, 7));
}

}  // namespace
}  // namespace pixelforge::preview
