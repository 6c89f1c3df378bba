// Files that several channels show: decoded once, within a budget, with one texture and no pixels left.
#include <gmock/gmock.h>

#include "media/document_media.h"
#include "media/image_decoder.h"
#include "service/http_get.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

/// 4 x 3 pixels of 32 bits.
constexpr std::uint64_t kPictureBytes = 48;

class MediaTexturesTest : public StageTest {
protected:
    /// Three channels of one picture; the second is the other way round.
    bool Build(std::uint64_t bytesInUse, const std::string& name = "rgba8.png") {
        const std::string file = PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
        std::vector<Input> inputs;
        for (int channel = 0; channel < 3; ++channel) {
            inputs.push_back({.channel = channel,
                              .ctype = "texture",
                              .id = 0,
                              .src = file,
                              .vflip = channel == 1 ? "true" : "false"});
        }
        stage_.LoadImage("c = T(0) + T(1) + T(2);", inputs);
        stage_.Renderer().document.origin = DocumentOrigin::LocalFile;
        InternetSession offline;
        LoadDocumentMedia(&offline, stage_.Renderer().document);
        stage_.Renderer().document.mediaBytes = bytesInUse;
        return stage_.Build();
    }
    const ChannelSlot& Channel(int channel) { return stage_.Renderer().slots[7].channels[channel]; }
};

TEST_F(MediaTexturesTest, AFileIsDecodedOnceForAllItsChannels) {
    ASSERT_TRUE(Build(kMediaBudget - 2 * kPictureBytes)) << stage_.Reason();
    const ShaderDocument& document = stage_.Renderer().document;
    EXPECT_EQ(document.mediaBytes, kMediaBudget);
    EXPECT_FALSE(document.passes[7].inputs[0].medium->faces[0]);
    EXPECT_TRUE(Channel(0).texture && Channel(1).texture && Channel(0).texture != Channel(1).texture);
    EXPECT_EQ(Channel(0).texture, Channel(2).texture);
}

TEST_F(MediaTexturesTest, ChannelsBeyondTheBudgetStayEmpty) {
    ASSERT_TRUE(Build(kMediaBudget - kPictureBytes + 1)) << stage_.Reason();
    EXPECT_FALSE(Channel(0).texture || Channel(1).texture || Channel(2).texture);
    const auto reason = EndsWith("rgba8.png: " + std::string(kBeyondBudget));
    EXPECT_THAT(TakeLines(), ElementsAre(reason, reason, reason));
    ASSERT_TRUE(Build(kMediaBudget - kPictureBytes)) << stage_.Reason();
    EXPECT_TRUE(Channel(0).texture && !Channel(1).texture && Channel(2).texture) << "one for two channels";
    EXPECT_THAT(TakeLines(), ElementsAre(reason));
}

TEST_F(MediaTexturesTest, APictureThatIsRefusedLeavesTheBudgetUnchanged) {
    ASSERT_TRUE(Build(5, "grey16.png")) << stage_.Reason();
    EXPECT_EQ(stage_.Renderer().document.mediaBytes, 5u);
    EXPECT_THAT(TakeLines(), testing::Each(EndsWith("16-bit pictures are not supported")));
}

}  // namespace
}  // namespace pixelforge::test
