// The fetcher against a service that misbehaves as real ones do.
#include "service/http_get.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/https_service/service_support.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;
using testing::Not;

using HttpGetTest = ServiceTest;

TEST_F(HttpGetTest, ReturnsEveryCompleteBodyWithItsStatus) {
    const struct {
        const wchar_t* name;
        std::uint32_t status;
        std::size_t size;
    } cases[] = {
        {L"1.bin", 200, 1},
        {L"nolength-4095.bin", 200, 4095},
        {L"nolength-4096.bin", 200, 4096},
        {L"nolength-4097.bin", 200, 4097},
        {L"empty-9.bin", 200, 0},
        {L"gzip-100000.bin", 200, 100000},
        {L"gzip-3.bin", 200, 3},
        {L"missing-5000.bin", 404, 5000},
        {L"broken-5000.bin", 500, 5000},
        {L"created-10.bin", 201, 10},
        {L"partial-10.bin", 206, 10},
        {L"redirect-5000.bin", 200, 5000},
        {L"hop-hop-hop-hop-hop-hop-hop-hop-hop-hop-10.bin", 200, 10},
    };
    for (const auto& [name, status, size] : cases) {
        SCOPED_TRACE(testing::PrintToString(name));
        const HttpReply reply = HttpGetReply(session_.get(), MediaUrl(name).c_str(), nullptr);
        EXPECT_EQ(reply.status, status);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(reply.body.get()), reply.length), Pattern(size));
        EXPECT_EQ(reply.body[reply.length], 0);
    }
}

TEST_F(HttpGetTest, SendsTheUserAgentAndExtraHeadersAndNoOthers) {
    HttpGetReply(session_.get(), MediaUrl(L"cookie-1.bin").c_str(), nullptr);
    EXPECT_TRUE(HttpGetReply(nullptr, MediaUrl(L"2.bin").c_str(), nullptr).body) << "with a private session";
    extraHeaderText = L"X-Extra: 17";
    HttpGetReply(session_.get(), MediaUrl(L"1.bin").c_str(), nullptr);
    extraHeaderText = L"";
    const auto plain = testing::AllOf(HasSubstr(kUserAgent), Not(HasSubstr("\tReferer:")),
                                      Not(HasSubstr("\tCookie:")), Not(HasSubstr("\tX-Extra:")));
    const auto extended = testing::AllOf(HasSubstr("\tX-Extra: 17\t"), Not(HasSubstr("\tCookie:")));
    EXPECT_THAT(Requests(), testing::ElementsAre(plain, plain, extended));
}

std::vector<std::uint32_t> progress;

TEST_F(HttpGetTest, ReportsProgressAndCancels) {
    const std::wstring url = MediaUrl(L"9000.bin");
    std::uint32_t length = 99;
    progress.clear();
    EXPECT_TRUE(HttpGet(session_.get(), url.c_str(), &length, [](std::uint32_t bytes) {
        progress.push_back(bytes);
        return 1;
    }));
    ASSERT_GE(progress.size(), 2u);
    EXPECT_EQ(progress.front(), 0u);
    EXPECT_EQ(progress.back(), 9000u);
    EXPECT_FALSE(HttpGet(session_.get(), url.c_str(), &length,
                         [](std::uint32_t bytes) { return bytes == 0 ? 1 : 0; }));
    EXPECT_EQ(length, 0u);
    EXPECT_FALSE(HttpGet(session_.get(), nullptr, &length, nullptr));
}

}  // namespace
}  // namespace pixelforge::test
