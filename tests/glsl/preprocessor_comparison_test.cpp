// The product's linear expansion against the literal one, on all short texts and on long random ones.
#include <gtest/gtest.h>

#include <array>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "base/heap.h"
#include "glsl/comment_scan.h"
#include "glsl/include_preprocessor.h"
#include "tests/glsl/expansion_comparison.h"
#include "tests/glsl/include_fixture.h"
#include "tests/glsl/literal_preprocessor.h"

namespace pixelforge {
namespace {

/// Includes under the names "", "a" and "//": they nest, leave comments open and end without a newline.
HeapRecord<IncludeContext> NewContext() {
    HeapRecord<IncludeContext> context = NewHeapRecord<IncludeContext>();
    RegisterVirtualInclude(*context, L"", CopyText("/*\n#include \"a\"\n*/ <empty>\n#include \"\"\n"));
    RegisterVirtualInclude(*context, L"a", CopyText("<a>\n#include \"//\"\n/* open"));
    RegisterVirtualInclude(*context, L"//", CopyText("#include \"gone\"\n#include \"\"\nx"));
    return context;
}

/// Calls `visit` with every text of up to `limit` symbols of `alphabet`.
template <class Visit>
void ForEachText(std::span<const std::string_view> alphabet, std::size_t limit, std::string& text,
                 Visit visit) {
    visit(text);
    for (std::size_t i = 0; limit > 0 && i < alphabet.size(); ++i) {
        text += alphabet[i];
        ForEachText(alphabet, limit - 1, text, visit);
        text.resize(text.size() - alphabet[i].size());
    }
}

class Comparison {
public:
    void Compare(const std::string& text) {
        const ExpandedText ours = ExpandedByProduct(*context_, text);
        ASSERT_EQ(ours, ExpandedLiterally(*context_, text)) << testing::PrintToString(text);
        failures += ours.success ? 0 : 1;
        expansions += ours.success && !ours.names.empty() ? 1 : 0;
    }

    std::size_t failures = 0;
    std::size_t expansions = 0;

private:
    HeapRecord<IncludeContext> context_ = NewContext();
};

// Every text of up to 8 characters over all that the walk tells apart, at every position, for both flags.
TEST(CommentScan, AgreesWithTheWalkBackEverywhere) {
    constexpr std::array<std::string_view, 4> kAlphabet = {"/", "*", "\n", "x"};
    std::string text;
    std::size_t compared = 0;
    ForEachText(kAlphabet, 8, text, [&compared](const std::string& candidate) {
        CommentScan scan(candidate.c_str());
        for (std::size_t p = 0; p <= candidate.size(); ++p) {
            const char* const position = candidate.c_str() + p;
            for (const bool flag : {false, true}) {
                ASSERT_EQ(CommentScan(scan).SkipTo(position, flag),
                          literal::InsideComment(candidate, static_cast<std::ptrdiff_t>(p), flag))
                    << testing::PrintToString(candidate) << " at " << p << " with " << flag;
                ++compared;
            }
            scan.SkipTo(position, false);
        }
    });
    EXPECT_GT(compared, 1'000'000U);
}

// Every text of up to PIXELFORGE_SYMBOLS symbols, of which "#include" is one: 8 where nothing slows the
// program down, fewer under the sanitizers.
TEST(LiteralExpansion, IsEqualOnAllShortTexts) {
    constexpr std::array<std::string_view, 7> kAlphabet = {"/", "*", "\n", "\"", "#include", " ", "a"};
    Comparison comparison;
    std::string text;
    ForEachText(kAlphabet, PIXELFORGE_SYMBOLS, text, [&comparison](const std::string& candidate) {
        if (!testing::Test::HasFatalFailure()) {
            comparison.Compare(candidate);
        }
    });
    EXPECT_GT(comparison.failures, 1'000U);
    EXPECT_GT(comparison.expansions, 50U);
}

// Long texts of pieces that make directives behind and within comments likely, also directives met in the
// middle of a line with a name eight characters behind the cursor.
TEST(LiteralExpansion, IsEqualOnLongRandomTexts) {
    constexpr std::string_view kFillers[] = {"/", "*", "\n", " ", "a", "*/"};
    constexpr std::string_view kPieces[] = {
        "\"", "#include", "#include \"a\"\n", "#include \"\"\n", "#include \"//\"", "/*", "//", "*/aaaaaa",
        "\t", "\n\n"};
    constexpr int kTexts = 4000;
    std::mt19937 random(20231);
    Comparison comparison;
    for (int i = 0; i < kTexts; ++i) {
        std::string text;
        const std::uint_fast32_t pieces = random() % 300;
        for (std::uint_fast32_t j = 0; j < pieces; ++j) {
            // Plain pieces more often than whole directives; else most texts fail in their first lines.
            text += random() % 4 == 0 ? kPieces[random() % std::size(kPieces)]
                                      : kFillers[random() % std::size(kFillers)];
        }
        ASSERT_NO_FATAL_FAILURE(comparison.Compare(text));
    }
    EXPECT_GT(comparison.failures, 500U);
    EXPECT_GT(comparison.expansions, 500U);
}

}  // namespace
}  // namespace pixelforge
