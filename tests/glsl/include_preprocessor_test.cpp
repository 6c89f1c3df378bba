// Where included names are found, what makes a run fail, and the expansion of every kind of text.
#include "glsl/include_preprocessor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <tuple>

#include "tests/glsl/expansion.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

namespace fs = std::filesystem;

/// Files in the include folder, next to it, and in the current folder. On Linux the backslash is an ordinary
/// character in a file name.
class Preprocessor : public testing::Test {
protected:
    Preprocessor() {
        fs::create_directories(root_.Path() / "folder");
        fs::create_directories(root_.Path() / "current");
        fs::current_path(root_.Path() / "current");
        CopyCut(context_->includeFolder, (root_.Path() / "folder").wstring());
    }
    ~Preprocessor() override { fs::current_path(former_); }

    std::string Expand(const std::string& text) { return Expanded(*context_, text, false).first; }

    const fs::path former_ = fs::current_path();
    const test::TempFolder root_;
    HeapRecord<IncludeContext> context_ = NewHeapRecord<IncludeContext>();
};

// A text is found whatever the case of its name; what is expanded only once is the name as written. A name
// has at most 259 UTF-16 units.
TEST_F(Preprocessor, FindsRegisteredTextsByName) {
    const std::string umlauts = ToUtf8(std::wstring(259, L'\u00E4'));
    const std::pair<std::string, std::string> cases[] = {
        {"a\n#include\t \"Common\" // x\nb", "a\nshared\nb"},
        {"#includes \"Common\"\n#include\"Common\"\n", "#includes \"Common\"\n#include\"Common\"\n"},
        {"#include \"Nothing\"\na\n", "a\n"},
        {"#include \"common\"\n#include \"Common\"\n#include \"Common\"\n", "shared\nshared\n"},
        {"#include \"" + umlauts + "\"\na", "a"},
        {"#include \"" + umlauts + "n\"\na", "failed"},
        {"#include \"\xC3\xA4\"\n", "umlaut\n"},
        {"#include \"\xE4\"\n", "umlaut\n"}};
    RegisterVirtualInclude(*context_, L"Common", ExactText("shared"));
    RegisterVirtualInclude(*context_, L"\u00E4", ExactText("umlaut"));
    RegisterVirtualInclude(*context_, L"Nothing", nullptr);
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Expand(text), expected) << text;
    }
}

// Untrusted texts can include neither files in the current folder nor names with a path. Some systems ignore
// the dot of "real.glsl.".
TEST_F(Preprocessor, ReadsFilesAsWrittenThenInTheFolderUntrustedOnlyInTheFolder) {
    using namespace std::string_view_literals;
    root_.Write("current/both.glsl", "current");
    root_.Write("current/own.glsl", "one\r\ntwo\rthree\n\n\n#include \"own.glsl\"\n");
    root_.Write("outer.glsl", "outer");
    for (const std::string name : {"both.glsl", "lib.glsl", "known.glsl", "real.glsl."}) {
        root_.Write("folder\\" + name, "library");
    }
    root_.Write("folder\\empty.glsl", "");
    root_.Write("folder\\zero.glsl", "\0\0\0"sv);
    root_.Write("folder\\marked.glsl", "\xEF\xBB\xBFmarked");
    root_.Write("folder\\little.glsl", "\xFF\xFE\x61\0\xE4\0\n\0"sv);
    root_.Write("folder\\big.glsl", "\xFE\xFF\0a\0\n\0"sv);
    RegisterVirtualInclude(*context_, L"KNOWN.GLSL", ExactText("registered"));
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {"both.glsl", "current\n", "library\n"},
        {"lib.glsl", "library\n", "library\n"},
        {"known.glsl", "registered\n", "registered\n"},
        {"own.glsl", "one\ntwo\nthree\n\n\n", ""},
        {(root_.Path() / "outer.glsl").string(), "outer\n", ""},
        {"../outer.glsl", "outer\n", ""},
        {"empty.glsl", "", ""},
        {"zero.glsl", "\n", "\n"},
        {"marked.glsl", "marked\n", "marked\n"},
        {"little.glsl", "a\xC3\xA4\n", "a\xC3\xA4\n"},
        {"big.glsl", "a\n", "a\n"},
        {"real.glsl.", "", ""},
        {"", "", ""},
        {std::string(250, 'x'), "", ""}};
    for (const auto& [name, local, untrusted] : cases) {
        const std::string directive = "#include \"" + name + "\"\n";
        context_->plainNamesOnly = false;
        EXPECT_EQ(Expand(directive + directive), local) << name;
        context_->plainNamesOnly = true;
        EXPECT_EQ(Expand(directive + directive), untrusted) << name;
    }
}

// The count of unknown names is limited as well: a document with many of them must not stop the host.
TEST_F(Preprocessor, DoesNotLookForAFileAgainInTheSameRun) {
    std::uint32_t length = 0;
    IncludedName* entry = nullptr;
    std::int32_t error = 0;
    const auto found = [&](const wchar_t* name) {
        return ResolveInclude(*context_, name, &length, &entry, &error) != nullptr;
    };
    EXPECT_FALSE(found(L"late.glsl"));
    for (const std::string name : {"late.glsl", "last.glsl", "next.glsl"}) {
        root_.Write("folder\\" + name, "x");
    }
    EXPECT_FALSE(found(L"late.glsl"));
    for (std::size_t i = 1; i < 4095; ++i) {
        EXPECT_FALSE(found(std::to_wstring(i).c_str()));
        EXPECT_FALSE(found((L"//host/" + std::to_wstring(i)).c_str())) << "refused without a search";
    }
    EXPECT_TRUE(found(L"last.glsl"));
    EXPECT_FALSE(found(L"4095"));
    EXPECT_FALSE(found(L"next.glsl"));
    ClearVirtualIncludes(*context_);
    EXPECT_TRUE(found(L"late.glsl"));
    EXPECT_TRUE(found(L"next.glsl"));
}

// Compares the linear expansion with the literal one on long texts, built from pieces that make directives
// likely after and within comments, and within a line with a name eight characters after the cursor. The
// texts to include nest, leave comments open and end without a newline.
TEST(LiteralExpansion, MatchesOnLongRandomTexts) {
    const HeapRecord<IncludeContext> context = NewHeapRecord<IncludeContext>();
    RegisterVirtualInclude(*context, L"", ExactText("/*\n#include \"a\"\n*/ <empty>\n#include \"\"\n"));
    RegisterVirtualInclude(*context, L"a", ExactText("<a>\n#include \"//\"\n/* open"));
    RegisterVirtualInclude(*context, L"//", ExactText("#include \"gone\"\n#include \"\"\nx"));
    // Three pieces in four are fillers: with more directives, most texts would fail within their first lines.
    constexpr std::string_view kFillers[] = {"/", "*", "\n", " ", "a", "*/"};
    constexpr std::string_view kPieces[] = {
        "\"", "#include", "#include \"a\"\n", "#include \"\"\n", "#include \"//\"", "/*", "//", "*/aaaaaa",
        "\t", "\n\n"};
    std::mt19937 random(20231);
    int failures = 0;
    int expansions = 0;
    for (int i = 0; i < 4000; ++i) {
        std::string text;
        for (std::uint_fast32_t pieces = random() % 300; pieces > 0; --pieces) {
            text += random() % 4 == 0 ? kPieces[random() % std::size(kPieces)]
                                      : kFillers[random() % std::size(kFillers)];
        }
        const auto ours = Expanded(*context, text, false);
        ASSERT_EQ(ours, Expanded(*context, text, true)) << testing::PrintToString(text);
        failures += ours.first == "failed";
        expansions += ours.first != "failed" && !ours.second.empty();
    }
    EXPECT_GT(std::min(failures, expansions), 500);
}

}  // namespace
}  // namespace pixelforge
