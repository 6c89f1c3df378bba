// Picking from playlists of every kind.
#include "module/playlist.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

std::uint32_t randomNumber = 0;

/// The entry that the random number picks, or "-" if there is none.
std::wstring Pick(std::string_view playlist, std::uint32_t number = 0) {
    const test::TempFile file(playlist, L".txt");
    wchar_t id[20] = L"left over";
    randomNumber = number;
    if (PickShaderId(file.Path().c_str(), id, [] { return randomNumber; })) {
        return id;
    }
    EXPECT_STREQ(id, L"");
    return L"-";
}

TEST(PickShaderId, IgnoresLinesWithoutALineEnd) {
    const std::pair<std::string, const wchar_t*> cases[] = {
        {"", L"-"},
        {"\n\r\n\r", L"-"},
        {"MdX3Rr", L"-"},
        {"  one # two \n", L"  one # two "},
        {"\xE4\x80\n", L"\u00E4\u20AC"},
        {"\xC3\xA4\n", L"\u00C3\u00A4"},
        {"1234567890123456789\n", L"1234567890123456789"},
        {"12345678901234567890\n", L"-"},
        {std::string(300000, 'x') + "\n", L"-"},
        {std::string("a\0b\n", 4), L"-"},
    };
    for (const auto& [playlist, expected] : cases) {
        EXPECT_EQ(Pick(playlist), expected) << testing::PrintToString(playlist.substr(0, 40));
    }
}

TEST(PickShaderId, PicksTheRandomNumberModuloTheLines) {
    constexpr std::string_view playlist = "\r\na\r\n\r\nb\n\rc\rd\n\ne\nunfinished";
    for (const auto& [number, id] : {std::pair(0u, L"a"), {0x80000000u, L"d"}, {7u, L"c"}}) {
        EXPECT_EQ(Pick(playlist, number), id) << number;
    }
    std::uint32_t ones = 0;
    std::uint32_t zeros = 0;
    for (int i = 0; i < 100; ++i) {
        const std::uint32_t drawn = SystemRandom();
        ones |= drawn;
        zeros |= ~drawn;
    }
    EXPECT_EQ(ones & zeros, 0xFFFFFFFF) << "a bit of the random number never varies";
}

}  // namespace
}  // namespace pixelforge
