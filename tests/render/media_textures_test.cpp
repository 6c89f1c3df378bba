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

constexpr std::uint64_t kPictureBytes = 48;  ///< 4 x 3 pixels of 32 bits

class MediaTexturesTest : public StageTest {
protected:
    /// Three channels of one picture; the second is the other way round.
    void Start(std::uint64_t bytesInUse, const std::string& name = "rgba8.png") {
        const std::string file = PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
        std::vector<Input> inputs(3, {.ctype = "texture", .src = file});
        inputs[1] = {.channel = 1, .ctype = "texture", .src = file, .vflip = "false"};
        inputs[2].channel = 2;
        stage_.LoadImage("c = T(0) + T(1) + T(2);", inputs);
        stage_.renderer->document.origin = DocumentOrigin::LocalFile;
        InternetSession offline;
        LoadDocumentMedia(&offline, stage_.renderer->document);
        stage_.renderer->document.mediaBytes = bytesInUse;
        stage_.Start();
    }
    const ChannelSlot& Channel(int channel) { return stage_.renderer->slots[7].channels[channel]; }
};

TEST_F(MediaTexturesTest, AFileIsDecodedOnceForAllItsChannels) {
    Start(kMediaBudget - 2 * kPictureBytes);
    const ShaderDocument& document = stage_.renderer->document;
    EXPECT_EQ(document.mediaBytes, kMediaBudget);
    EXPECT_FALSE(document.passes[7].inputs[0].medium->faces[0]);
    EXPECT_TRUE(Channel(0).texture && Channel(1).texture && Channel(0).texture != Channel(1).texture);
    EXPECT_EQ(Channel(0).texture, Channel(2).texture);
}

TEST_F(MediaTexturesTest, ChannelsBeyondTheBudgetStayEmpty) {
    Start(kMediaBudget - kPictureBytes + 1);
    EXPECT_FALSE(Channel(0).texture || Channel(1).texture || Channel(2).texture);
    const auto reason = EndsWith("rgba8.png: " + std::string(kBeyondBudget));
    EXPECT_THAT(TakeLines(), ElementsAre(reason, reason, reason));
    Start(kMediaBudget - kPictureBytes);
    EXPECT_TRUE(Channel(0).texture && !Channel(1).texture && Channel(2).texture) << "one for two channels";
    EXPECT_THAT(TakeLines(), ElementsAre(reason));
}

TEST_F(MediaTexturesTest, APictureThatIsRefusedLeavesTheBudgetUnchanged) {
    Start(5, "grey16.png");
    EXPECT_EQ(stage_.renderer->document.mediaBytes, 5u);
    EXPECT_THAT(TakeLines(), testing::Each(EndsWith("16-bit pictures are not supported")));
}

}  // namespace
}  // namespace pixelforge::test
