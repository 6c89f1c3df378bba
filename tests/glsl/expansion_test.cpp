// Compares the product's linear expansion with the literal one on all short texts and on long random ones.
#include "tests/glsl/expansion.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <span>
#include <string>

#include "glsl/comment_scan.h"

namespace pixelforge {
namespace {

/// Calls `visit` with every text of up to `limit` symbols of `alphabet`, until a check fails.
template <class Visit>
void ForEachText(std::span<const std::string_view> alphabet, std::size_t limit, std::string& text,
                 Visit visit) {
    visit(text);
    for (std::size_t i = 0; limit > 0 && i < alphabet.size() && !testing::Test::HasFatalFailure(); ++i) {
        text += alphabet[i];
        ForEachText(alphabet, limit - 1, text, visit);
        text.resize(text.size() - alphabet[i].size());
    }
}

// All texts of up to 8 of the characters that matter to the scan, at every position, for both flags.
TEST(CommentScan, MatchesTheBackwardScanEverywhere) {
    constexpr std::string_view kAlphabet[] = {"/", "*", "\n", "x"};
    std::string text;
    ForEachText(kAlphabet, 8, text, [](const std::string& candidate) {
        CommentScan scan(candidate.c_str());
        for (std::size_t p = 0; p <= candidate.size(); ++p) {
            const char* const position = candidate.c_str() + p;
            for (const bool flag : {false, true}) {
                ASSERT_EQ(CommentScan(scan).SkipTo(position, flag),
                          InsideCommentLiterally(candidate, static_cast<std::ptrdiff_t>(p), flag))
                    << testing::PrintToString(candidate) << " at " << p << " with " << flag;
            }
            scan.SkipTo(position, false);
        }
    });
}

class LiteralExpansion : public testing::Test {
protected:
    /// Registers "", "a" and "//", which nest, leave comments open and end without a newline.
    LiteralExpansion() {
        RegisterVirtualInclude(*context_, L"", CopyText("/*\n#include \"a\"\n*/ <empty>\n#include \"\"\n"));
        RegisterVirtualInclude(*context_, L"a", CopyText("<a>\n#include \"//\"\n/* open"));
        RegisterVirtualInclude(*context_, L"//", CopyText("#include \"gone\"\n#include \"\"\nx"));
    }

    void Compare(const std::string& text) {
        const ExpandedText ours = ExpandedByProduct(*context_, text);
        const ExpandedText literal = ExpandedLiterally(*context_, text);
        ASSERT_TRUE(ours == literal) << testing::PrintToString(text) << "\nbecomes " << ours.output
                                     << "\ninstead of " << literal.output;
        failures_ += ours.success ? 0 : 1;
        expansions_ += ours.success && !ours.names.empty() ? 1 : 0;
    }

    HeapRecord<IncludeContext> context_ = NewHeapRecord<IncludeContext>();
    std::size_t failures_ = 0;
    std::size_t expansions_ = 0;
};

// All texts of up to PIXELFORGE_SYMBOLS symbols; "#include" is one symbol.
TEST_F(LiteralExpansion, MatchesOnAllShortTexts) {
    constexpr std::string_view kAlphabet[] = {"/", "*", "\n", "\"", "#include", " ", "a"};
    std::string text;
    ForEachText(kAlphabet, PIXELFORGE_SYMBOLS, text, [this](const std::string& each) { Compare(each); });
    EXPECT_GT(failures_, 1'000U);
    EXPECT_GT(expansions_, 50U);
}

// Long texts built from pieces that make directives likely after and within comments, and within a line with
// a name eight characters after the cursor.
TEST_F(LiteralExpansion, MatchesOnLongRandomTexts) {
    // Three pieces in four are fillers: with more directives, most texts would fail within their first lines.
    constexpr std::string_view kFillers[] = {"/", "*", "\n", " ", "a", "*/"};
    constexpr std::string_view kPieces[] = {
        "\"", "#include", "#include \"a\"\n", "#include \"\"\n", "#include \"//\"", "/*", "//", "*/aaaaaa",
        "\t", "\n\n"};
    std::mt19937 random(20231);
    for (int i = 0; i < 4000; ++i) {
        std::string text;
        for (std::uint_fast32_t pieces = random() % 300; pieces > 0; --pieces) {
            text += random() % 4 == 0 ? kPieces[random() % std::size(kPieces)]
                                      : kFillers[random() % std::size(kFillers)];
        }
        ASSERT_NO_FATAL_FAILURE(Compare(text));
    }
    EXPECT_GT(failures_, 500U);
    EXPECT_GT(expansions_, 500U);
}

}  // namespace
}  // namespace pixelforge
