// Line ends of every origin.
#include "base/text.h"

#include <gtest/gtest.h>

#include <string>

namespace pixelforge {
namespace {

TEST(NormalizeLineEnds, TurnsEachPairAndEachSingleIntoOneLineFeedWithinTheCapacity) {
    const struct {
        std::string source;
        std::size_t capacity;
        const char* expected;
    } cases[] = {
        {"a\r\nb\n\rc\rd\ne\r", 64, "a\nb\nc\nd\ne\n"},
        {"\r\n\r\n", 64, "\n\n"},
        {"\r\n\n", 64, "\n\n"},
        {"ab\r\ncd", 5, "ab\nc"},
        {"ab\r\ncd", 4, "ab\n"},
        {"ab", 1, ""},
    };
    for (const auto& each : cases) {
        std::string text = each.source + std::string(64, '\0');
        NormalizeLineEnds(text.data(), text.data(), each.capacity);
        EXPECT_STREQ(text.c_str(), each.expected) << testing::PrintToString(each.source);
    }
}

}  // namespace
}  // namespace pixelforge
