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
        ASSERT_EQ(size, bytes.size());
        EXPECT_EQ(std::string(block.get(), block.get() + size + 4), bytes + std::string(4, '\0'));
    }
}

TEST(ReadWholeFile, RefusesWhatIsNoFile) {
    const std::wstring folder = std::filesystem::temp_directory_path().wstring();
    std::uint32_t size = 0;
    for (const wchar_t* path :
         {static_cast<const wchar_t*>(nullptr), L"", L"no such file", L"NUL", folder.c_str()}) {
        EXPECT_FALSE(ReadWholeFile(path, &size)) << testing::PrintToString(path);
    }
}

}  // namespace
}  // namespace pixelforge
