// Debugger output made readable.
#include "preview/messages.h"

#include <gmock/gmock.h>

#include "preview/line_collector.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LineCollector, JoinsPiecesAndSplitsLines) {
    LineCollector collector;
    EXPECT_THAT(collector.Lines(), IsEmpty());
    for (const char* piece : {"one", " line\r", "\n\ntwo\nunfin", "ished"}) {
        collector.Add(piece);
    }
    EXPECT_THAT(collector.Lines(), ElementsAre("one line", "", "two", "unfinished"));
    collector.Clear();
    EXPECT_THAT(collector.Lines(), IsEmpty());
}

TEST(ReadableLines, SayEachThingOnceAndByItsOwnName) {
    const std::vector<std::string> lines = {"D:\\Moonreel\\pabc123: no Image",
                                            "bad D:\\Moonreel\\pabc123 pass",
                                            "D:\\Moonreel\\pabc123: no Image", "Pixelforge: Image:3: error"};
    EXPECT_THAT(ReadableLines(lines, "D:\\Moonreel\\pabc123", "my.json"),
                ElementsAre("my.json: no Image", "bad my.json pass", "Image:3: error"));
}

TEST(ReadableLines, EndWhenTheNameHoldsTheAlias) {
    EXPECT_THAT(ReadableLines({"xx"}, "x", "(x)"), ElementsAre("(x)(x)"));
}

}  // namespace
}  // namespace pixelforge::preview
