// Lines of playlists and the order in which they are shown.
#include "preview/host/playlist_lines.h"

#include <gmock/gmock.h>

#include <set>

namespace pixelforge::preview {
namespace {

TEST(PlaylistLines, AreThoseThatTheModulePicksFromWithTheirNumbers) {
    std::string found;
    for (const PlaylistLine& line : SplitPlaylist("\r\na\r\n\r\nb\n\rc\rd \xE4\x01\nunfinished")) {
        found += std::to_string(line.number) + line.Name() + ";";
    }
    EXPECT_EQ(found, "2a;4b;5c;6d \xC3\xA4 ;");
    EXPECT_TRUE(SplitPlaylist(std::string("a\0b\n", 4)).empty());
}

TEST(PlaylistLines, AreAppendedOnceAndAsLinesOfTheirOwn) {
    EXPECT_EQ(LineToAppend("", "a"), "a\r\n");
    EXPECT_EQ(LineToAppend("b\r", "a"), "a\r\n");
    EXPECT_EQ(LineToAppend("b\na", "a"), "\r\na\r\n") << "the module ignores an unfinished line";
    EXPECT_EQ(LineToAppend("b\na\n", "a"), "");
}

TEST(PlaylistOrder, ShowsEachLineOnceARound) {
    PlaylistOrder order(SplitPlaylist("a\nb\nc\nd\ne\n"));
    std::string previous;
    for (int round = 0; round < 500; ++round) {
        std::set<std::string> shown;
        for (int i = 0; i < 5; ++i, order.Next()) {
            EXPECT_TRUE(shown.insert(order.Current().bytes).second);
            EXPECT_NE(order.Current().bytes, previous);
            previous = order.Current().bytes;
        }
    }
}

TEST(PlaylistOrder, GoesBackToTheLinesThatWereShown) {
    PlaylistOrder order(SplitPlaylist("a\nb\nc\nd\n"));
    std::vector<std::string> names;
    for (const bool failed : {true, false, true, false}) {
        names.push_back(order.Current().bytes);
        if (failed) {
            order.MarkFailed("why");
        }
        if (names.size() < 4) {
            order.Next();
        }
    }
    EXPECT_TRUE(order.Previous());
    EXPECT_EQ(order.Current().bytes, names[1]);
    EXPECT_FALSE(order.Previous());
    order.Next();
    EXPECT_EQ(order.Current().bytes, names[3]);
    ASSERT_EQ(order.Failures().size(), 2u);
    EXPECT_LT(order.Failures()[0].line.number, order.Failures()[1].line.number);
    EXPECT_EQ(order.Failures()[0].reason, "why");
}

}  // namespace
}  // namespace pixelforge::preview
