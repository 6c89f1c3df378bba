// Bodies as large as media get.
#include <gtest/gtest.h>

#include <cstring>

#include "library/http_get.h"
#include "tests/service/service_support.h"

namespace pixelforge::test {
namespace {

TEST_F(ServiceTest, ALongTransferArrivesWholeWithAndWithoutALength) {
    constexpr std::size_t kBytes = 100'000'000;
    const std::string pattern = Pattern(kBytes);
    for (const wchar_t* name : {L"100000000.bin", L"chunked-100000000.bin", L"nolength-100000000.bin"}) {
        const HttpReply reply = HttpGetReply(session_.get(), MediaUrl(name).c_str(), nullptr);
        ASSERT_TRUE(reply.body) << testing::PrintToString(name);
        ASSERT_EQ(reply.length, kBytes);
        EXPECT_EQ(std::memcmp(reply.body.get(), pattern.data(), kBytes), 0);
    }
    EXPECT_FALSE(HttpGetReply(session_.get(), MediaUrl(L"cut-100000000.bin").c_str(), nullptr).body);
}

}  // namespace
}  // namespace pixelforge::test
