// The fetcher against a service that does what real ones do on bad days.
#include "library/http_get.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "library/internet_session.h"
#include "tests/service/request_log.h"
#include "tests/service/service_text.h"

namespace pixelforge::test {
namespace {

std::string BodyOf(const HttpReply& reply) {
    return {reinterpret_cast<const char*>(reply.body.get()), reply.length};
}

struct Delivery {
    const wchar_t* name;
    std::uint32_t status;
    std::size_t size;
};

TEST(HttpGet, ReturnsEveryWholeBodyWithItsStatus) {
    const auto session = OpenInternetSession();
    for (const Delivery& delivery : {
             Delivery{L"1.bin", 200, 1},
             {L"100000.bin", 200, 100000},
             {L"chunked-100000.bin", 200, 100000},
             {L"chunked-4096.bin", 200, 4096},
             {L"nolength-4095.bin", 200, 4095},
             {L"nolength-4096.bin", 200, 4096},
             {L"nolength-4097.bin", 200, 4097},
             {L"empty-9.bin", 200, 0},
             {L"gzip-100000.bin", 200, 100000},
             {L"gzip-3.bin", 200, 3},
             {L"missing-5000.bin", 404, 5000},
             {L"broken-5000.bin", 500, 5000},
             {L"redirect-5000.bin", 200, 5000},
         }) {
        SCOPED_TRACE(testing::PrintToString(delivery.name));
        const HttpReply reply = HttpGetReply(session.get(), MediaUrl(delivery.name).c_str(), nullptr);
        ASSERT_TRUE(reply.body) << reply.systemError;
        EXPECT_EQ(reply.status, delivery.status);
        EXPECT_EQ(BodyOf(reply), Pattern(delivery.size));
        EXPECT_EQ(reply.body[reply.length], 0);
    }
}

TEST(HttpGet, ReturnsNothingForABrokenTransfer) {
    const auto session = OpenInternetSession();
    for (const std::wstring& url : {
             MediaUrl(L"cut-100000.bin"),
             MediaUrl(L"cut-10.bin"),
             MediaUrl(L"liar-10.bin"),
             MediaUrl(L"stall-100000.bin"),
             Url(L"/media/a/10.bin", L"untrusted."),
             Url(L"/media/a/10.bin", L"wrongname."),
             Url(L"/media/a/10.bin", L"nowhere."),
             std::wstring(L"https://127.0.0.1:1/"),
             std::wstring(L"http://127.0.0.1:1/"),
             std::wstring(L"unknown://x/"),
             std::wstring(),
         }) {
        SCOPED_TRACE(testing::PrintToString(url));
        std::uint32_t length = 99;
        EXPECT_FALSE(HttpGet(session.get(), url.c_str(), &length, nullptr));
        EXPECT_EQ(length, 0u);
        EXPECT_TRUE(HttpGet(session.get(), MediaUrl(L"7.bin").c_str(), &length, nullptr));
        EXPECT_EQ(length, 7u) << "the next good fetch works";
    }
    std::uint32_t length = 99;
    EXPECT_FALSE(HttpGet(session.get(), nullptr, &length, nullptr));
    EXPECT_EQ(length, 0u);
}

TEST(HttpGet, SaysWhyItCouldNotConnect) {
    const auto session = OpenInternetSession();
    EXPECT_EQ(HttpGetReply(session.get(), Url(L"/", L"untrusted.").c_str(), nullptr).systemError, 12057u);
    EXPECT_EQ(HttpGetReply(session.get(), Url(L"/", L"wrongname.").c_str(), nullptr).systemError, 12038u);
}

TEST(HttpGet, SendsTheUserAgentAndNothingOfItsOwn) {
    const auto session = OpenInternetSession();
    const RequestLog log;
    std::uint32_t length = 0;
    HttpGet(session.get(), MediaUrl(L"1.bin").c_str(), &length, nullptr);
    HttpGet(nullptr, MediaUrl(L"2.bin").c_str(), &length, nullptr);
    EXPECT_EQ(length, 2u) << "without a session too";
    const auto requests = log.Requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const ServiceRequest& request : requests) {
        EXPECT_EQ(request.headers.at("User-Agent"),
                  "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
                  "Chrome/125.0.0.0 Safari/537.36");
        EXPECT_FALSE(request.headers.contains("Referer"));
        EXPECT_FALSE(request.headers.contains("Cookie"));
    }
}

TEST(HttpGet, SendsTheExtraHeaders) {
    const auto session = OpenInternetSession();
    const RequestLog log;
    extraHeaderText = L"X-Extra: 17";
    std::uint32_t length = 0;
    EXPECT_TRUE(HttpGet(session.get(), MediaUrl(L"1.bin").c_str(), &length, nullptr));
    extraHeaderText = L"";
    ASSERT_EQ(log.Requests().size(), 1u);
    EXPECT_EQ(log.Requests()[0].headers.at("X-Extra"), "17");
}

std::vector<std::uint32_t> progress;

TEST(HttpGet, ReportsAndCancels) {
    const auto session = OpenInternetSession();
    std::uint32_t length = 99;
    progress.clear();
    EXPECT_TRUE(HttpGet(session.get(), MediaUrl(L"9000.bin").c_str(), &length, [](std::uint32_t bytes) {
        progress.push_back(bytes);
        return 1;
    }));
    ASSERT_GE(progress.size(), 2u);
    EXPECT_EQ(progress.front(), 0u);
    EXPECT_EQ(progress.back(), 9000u);
    EXPECT_FALSE(HttpGet(session.get(), MediaUrl(L"9000.bin").c_str(), &length,
                         [](std::uint32_t bytes) { return bytes == 0 ? 1 : 0; }));
    EXPECT_EQ(length, 0u);
}

}  // namespace
}  // namespace pixelforge::test
