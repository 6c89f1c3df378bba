// Texts that the host reads: control settings, event files, playlists and the notice.
#include <gmock/gmock.h>

#include <set>

#include "base/load_error.h"
#include "module/controls.h"
#include "module/overlay.h"
#include "preview/host/host_controls.h"
#include "preview/host/host_error.h"
#include "preview/host/notice.h"
#include "preview/host/playlist_lines.h"

namespace pixelforge::preview {
namespace {

using testing::EndsWith;
using testing::FieldsAre;
using testing::HasSubstr;

class HostControlsTest : public testing::Test {
protected:
    HostControlsTest() {
        BuildControls(module_, &HostControls::Allocate, &controls_);
        controls_.KeepDefaults();
    }

    std::string ValueOf(const std::string& label) { return ControlValueText(*controls_.Find(label)); }

    ModuleInstance module_{};
    HostControls controls_;
};

TEST_F(HostControlsTest, PassValidValuesToTheModule) {
    for (const auto& [label, value] : {std::pair("Speed", "-0.5"),
                                       {"Multi-Sample", "5"},
                                       {"Draw Event", "false"},
                                       {"Playlist File(s)", "l\xC3\xA4uft.playlist"},
                                       {"Tile Mask", "8x4"}}) {
        controls_.Apply({label, value});
        EXPECT_THAT(controls_.Changed(), testing::Contains(FieldsAre(label, value)));
    }
    EXPECT_EQ(controls_.Changed().size(), 5U);
    EXPECT_EQ(DecimalValue(module_, control::kSpeed), -0.5F);
    EXPECT_EQ(WholeValue(module_, control::kMultiSample), 5);
    EXPECT_FALSE(SwitchValue(module_, control::kDrawEvent));
    EXPECT_STREQ(module_.playlistFiles->files.fileName, L"l\u00E4uft.playlist");
    EXPECT_EQ(module_.tiling.tileMask->mask.gridSize[1], 4);
}

TEST_F(HostControlsTest, KeepTheirValueIfTheNewOneIsInvalid) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"Speed", {"", "x", "1.01", "-2", "0.5s", " 0.5", "nan", "inf", "1e99"}},
        {"Multi-Sample", {"", "6", "-1", "2.0", "99999999999", "0x1"}},
        {"Draw Event", {"", "2", "maybe"}},
        {"Playlist File(s)", {std::string(kHostTextUnits, 'a'), "\xFF"}},
        {"Tile Mask", {"", "8", "0x8", "33x1", "8x", "x8"}}};
    for (const auto& [label, values] : cases) {
        const std::string before = ValueOf(label);
        for (const std::string& value : values) {
            EXPECT_THROW(controls_.Apply({label, value}), HostError) << label << "=" << value;
            EXPECT_EQ(ValueOf(label), before) << value;
        }
    }
    const std::string failure = FailureOf([&] { controls_.Apply({"General", "1"}); });
    EXPECT_EQ(failure + "\n", R"(unknown control "General"; the controls are:
  Speed = 0.03  (number, -1 to 1)
  Playlist File(s) =   (file name in the playlist folder)
  Fast Buffers = false  (true or false)
  Multi-Sample = 0  (whole number, 0 to 5)
  Info Time = 4  (whole number, 0 to 60)
  Foreground Only = false  (true or false)
  Starting Index = 0.01  (number, 0 to 4000)
  Color Index = 1  (number, 0 to 1)
  Progression rate = 0.1  (number, 0 to 1)
  Alternate Colors = false  (true or false)
  X Tiling = 1  (whole number, 1 to 32)
  Y Tiling = 1  (whole number, 1 to 32)
  Mirroring = true  (true or false)
  Tile Mask = 32x32  (columns x rows, 1x1 to 32x32)
  Draw Event = true  (true or false)
  Reset Event = false  (true or false)
  Min Reset Time = 5000  (whole number, 0 to 20000)
)");
    const char* const words[] = {"Off", "ON", "no", "yes", "0", "1", "false", "true"};
    for (std::size_t i = 0; i < std::size(words); ++i) {
        controls_.Apply({"Fast Buffers", words[i]});
        EXPECT_EQ(ValueOf("Fast Buffers"), i % 2 == 0 ? "false" : "true") << words[i];
    }
}

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
    PlaylistOrder failing(SplitPlaylist("a\nb\nc\n"));
    for (const std::size_t number : {3, 1}) {
        while (failing.Current().number != number) {
            failing.Next();
        }
        failing.MarkFailed("before");
        failing.MarkFailed("why");
    }
    EXPECT_THAT(failing.Failures(), testing::ElementsAre(FieldsAre(FieldsAre(1, "a"), "why"),
                                                         FieldsAre(FieldsAre(3, "c"), "why")));
    EXPECT_EQ(order.Failures().size(), 2u);
    EXPECT_EQ(order.LineCount(), 4u);
}

Notice Compose(std::wstring_view name, std::wstring_view author, std::wstring_view description,
               const wchar_t* editor = L"") {
    ShaderInfo info = {};
    CopyCut(info.id, L"abc123");
    CopyCut(info.name, name);
    CopyCut(info.username, author);
    CopyCut(info.description, description);
    wchar_t text[4096] = {};
    EXPECT_TRUE(ComposeInfoText(info, editor, text));
    const std::wstring_view all = text;
    for (std::size_t size = 0; size < all.rfind(L"Description: "); ++size) {
        EXPECT_FALSE(ReadNotice(all.substr(0, size))) << "it ends too early";
    }
    return ReadNotice(text).value();
}

TEST(Notice, HoldsTheShadersTextsUnchanged) {
    for (const std::wstring& text :
         {std::wstring(L"plain"), std::wstring(), std::wstring(L"}}{ } \\par}"), std::wstring(L"}}"),
          std::wstring(L"\\b \"quoted\" \\"), std::wstring(L"\xD83C\xDF0A %lu"), std::wstring(63, L'{')}) {
        for (const wchar_t* editor : {L"", L"C:/tools/editor.exe"}) {
            const Notice notice = Compose(text, text, text, editor);
            EXPECT_EQ(notice.shaderName, text);
            EXPECT_EQ(notice.authorName, text);
            EXPECT_EQ(notice.description, text);
            EXPECT_EQ(notice.editorLink, *editor ? L"file://C:/tools/editor.exe?abc123" : L"");
            EXPECT_TRUE(notice.shaderLink.ends_with(L"/view/abc123"));
            EXPECT_TRUE(notice.authorLink.ends_with(L"/user/" + text));
        }
    }
    EXPECT_FALSE(ReadNotice(L"{\\rtf1 something else}"));
}

TEST(Notice, BecomesSafeRichTextAndPlainTextWithLinks) {
    const Notice notice = Compose(L"a}b\\c\x1B", L"\xD83C\xDF0A", L"x\n{y\x1B", L"e.exe");
    const std::string rtf = NoticeAsRichText(notice);
    EXPECT_THAT(rtf, testing::Not(HasSubstr("%lu"))) << "the colour table holds the host's colours";
    EXPECT_THAT(rtf, EndsWith(R"(Shader: {\cf3\ul a\}b\\c}\line \cf2 Author: {\cf3\ul \u-10180?\u-8438?})"
                              R"(\line \cf2 Description: x\line \{y\par})"));
    EXPECT_THAT(TextAsRichText(L"a\tb\x1F ~\x80{\n"), EndsWith("\\f1 a\tb ~\\u128?\\{\\line }"));
    EXPECT_EQ(NoticeAsPlainText({L"s\n", L"n\x1B", L"a\x7F", L"\xD83C\xDF0A\r", L"x\n{y\x9F", L"e\t"}),
              "Shader: n  <s >\nAuthor: \xF0\x9F\x8C\x8A  <a >\nDescription: x {y \nEdit: e \n");
    EXPECT_THAT(NoticeAsPlainText({}), EndsWith("Description: \n")) << "no editor";
}

}  // namespace
}  // namespace pixelforge::preview
