// Whole-file reads.
#include "base/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

TEST(ReadWholeFile, ReturnsTheBytesAndZerosBehindThem) {
    for (const std::string& bytes : {std::string(), std::string("a\0b\r\n", 5), std::string(3 << 20, 'x')}) {
        const test::TempFile file(bytes, L"-\u00E4\u732B.bin");
        std::uint32_t size = 77;
        const HeapBytes block = ReadWholeFile(file.Path().c_str(), &size);
        ASSERT_TRUE(block);
        const std::string expected = bytes + std::string(4, '\0');
        EXPECT_EQ(size, bytes.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), block.get()));
    }
}

TEST(ReadWholeFile, RefusesWhatIsNoFile) {
    const std::wstring folder = std::filesystem::temp_directory_path().wstring();
    std::uint32_t size = 0;
    EXPECT_FALSE(ReadWholeFile(nullptr, &size));
    EXPECT_FALSE(ReadWholeFile(L"", &size));
    EXPECT_FALSE(ReadWholeFile(L"no such file", &size));
    EXPECT_FALSE(ReadWholeFile(L"NUL", &size));
    EXPECT_FALSE(ReadWholeFile(folder.c_str(), &size));
    const test::TempFile file("x");
    EXPECT_FALSE(ReadWholeFile(file.Path().c_str(), nullptr));
}

}  // namespace
}  // namespace pixelforge
