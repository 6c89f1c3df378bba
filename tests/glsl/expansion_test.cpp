// Compares the product's linear expansion with the literal one on all short texts and on long random ones.
#include "tests/glsl/expansion.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

namespace pixelforge {
namespace {

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

    /// All texts that continue `text` by up to `symbols` symbols; "#include" is one.
    void CompareAll(std::string& text, int symbols) {
        Compare(text);
        for (const char* symbol : {"/", "*", "\n", "\"", "#include", " ", "a"}) {
            if (symbols > 0 && !HasFatalFailure()) {
                const std::size_t length = text.size();
                CompareAll(text += symbol, symbols - 1);
                text.resize(length);
            }
        }
    }

    HeapRecord<IncludeContext> context_ = NewHeapRecord<IncludeContext>();
    std::size_t failures_ = 0;
    std::size_t expansions_ = 0;
};

TEST_F(LiteralExpansion, MatchesOnAllShortTexts) {
    std::string text;
    CompareAll(text, PIXELFORGE_SYMBOLS);
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
