// Line ends of every origin.
#include "base/line_ends.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace pixelforge {
namespace {

std::string Normalized(std::string text, std::size_t capacity) {
    std::string apart(std::max<std::size_t>(capacity, 1), '#');
    NormalizeLineEnds(text.c_str(), apart.data(), capacity);
    text.resize(std::max(text.size(), capacity) + 1);
    NormalizeLineEnds(text.data(), text.data(), capacity);
    EXPECT_STREQ(apart.c_str(), text.c_str()) << "in place and apart differ";
    return apart.c_str();
}

TEST(NormalizeLineEnds, TurnsEachPairAndEachSingleIntoOneLineFeed) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"a\r\nb\n\rc\rd\ne", "a\nb\nc\nd\ne"},
        {"\r\n\r\n", "\n\n"},
        {"\r\n\n", "\n\n"},
        {"\n\r\r", "\n\n"},
        {"end\r", "end\n"},
    };
    for (const auto& [source, expected] : cases) {
        EXPECT_EQ(Normalized(source, 64), expected) << testing::PrintToString(source);
    }
}

TEST(NormalizeLineEnds, StaysWithinTheCapacity) {
    EXPECT_EQ(Normalized("ab\r\ncd", 5), "ab\nc");
    EXPECT_EQ(Normalized("ab\r\ncd", 4), "ab\n");
    EXPECT_EQ(Normalized("ab", 1), "");
}

TEST(EndWithOneNewline, ReplacesAllTrailingLineEnds) {
    for (const auto& [text, expected] :
         {std::pair("a", "a\n"), {"a\r\n\n\r", "a\n"}, {"", "\n"}, {"\r\n", "\n"}, {"a\n ", "a\n \n"}}) {
        std::string block = std::string(text) + std::string(2, '\0');
        EndWithOneNewline(block.data());
        EXPECT_STREQ(block.c_str(), expected);
    }
}

}  // namespace
}  // namespace pixelforge
