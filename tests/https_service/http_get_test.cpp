// The fetcher against a service that misbehaves as real ones do.
#include "service/http_get.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <objbase.h>
#include <wininet.h>

#include <thread>
#include <tuple>
#include <vector>

#include "base/load_error.h"
#include "tests/https_service/service_support.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<DWORD> requestFlags;

HINTERNET WINAPI OpenUrl(HINTERNET internet, const wchar_t* url, const wchar_t* headers, DWORD length,
                         DWORD flags, DWORD_PTR context) {
    requestFlags.push_back(flags);
    return SystemCall<decltype(&InternetOpenUrlW)>("wininet", "InternetOpenUrlW")(internet, url, headers,
                                                                                  length, flags, context);
}

}  // namespace

extern "C" {
decltype(&InternetOpenUrlW) __imp_InternetOpenUrlW = OpenUrl;
}

namespace {

// The first session of a process decides about the apartment: ctest runs each of these in its own process.
TEST(InternetSession, EntersASingleThreadedApartment) {
    ASSERT_TRUE(OpenInternetSession());
    EXPECT_NE(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
}

TEST(InternetSession, OpensInAnApartmentOfAnotherKind) {
    std::thread([] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_TRUE(OpenInternetSession());
        CoUninitialize();
    }).join();
}

TEST(FaultOfStatus, AcceptsSuccessWithAWholeBody) {
    for (const auto& [status, whole] :
         {std::pair(0u, false), {199, false}, {200, true}, {206, false}, {299, true}, {300, false}}) {
        EXPECT_EQ(FaultOfStatus(status).empty(), whole) << status;
    }
}

using HttpGetTest = ServiceTest;

/// Not from the system's cache, nor into it; without cookies; redirects one by one, and without a login.
TEST_F(HttpGetTest, AsksTheSystemForNothingButTheFile) {
    requestFlags.clear();
    for (const std::wstring& url : {MediaUrl(L"hop-1.bin"), std::wstring(L"http://127.0.0.1:1/"),
                                    std::wstring(L"ftps://127.0.0.1:1/"), std::wstring(L"none")}) {
        FailureOf([&] { HttpGetReply(session_.get(), url.c_str(), nullptr); });
    }
    EXPECT_THAT(requestFlags, ElementsAre(0x84A80000, 0x84AC0000, 0x84280000, 0x84A80000, 0x84280000));
}

TEST_F(HttpGetTest, ReturnsEveryCompleteBodyWithItsStatus) {
    const std::tuple<const wchar_t*, std::uint32_t, std::size_t> cases[] = {
        {L"1.bin", 200, 1},
        {L"nolength-4096.bin", 200, 4096},
        {L"empty-9.bin", 200, 0},
        {L"gzip-100000.bin", 200, 100000},
        {L"gzip-3.bin", 200, 3},
        {L"missing-5000.bin", 404, 5000},
        {L"partial-10.bin", 206, 10},
        {L"redirect-5000.bin", 200, 5000},
        {L"chunked-10000000.bin", 200, 10'000'000},
        {L"nolength-10000000.bin", 200, 10'000'000},
        {L"hop-hop-hop-hop-hop-hop-hop-hop-hop-hop-10.bin", 200, 10}};
    for (const auto& [name, status, size] : cases) {
        SCOPED_TRACE(testing::PrintToString(name));
        const HttpReply reply = HttpGetReply(session_.get(), MediaUrl(name).c_str(), nullptr);
        EXPECT_EQ(reply.status, status);
        EXPECT_TRUE(std::string(reinterpret_cast<const char*>(reply.body.get()), reply.length) ==
                    Pattern(size));
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
    EXPECT_THAT(Requests(), ElementsAre(plain, plain, extended));
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

TEST_F(HttpGetTest, FetchesLeaveNoHandleOpen) {
    const std::wstring failing[] = {MediaUrl(L"cut-5000.bin"),
                                    MediaUrl(L"closed-5000.bin"),
                                    MediaUrl(L"plain-1.bin"),
                                    Url(L"/media/a/1.bin", L"untrusted."),
                                    Url(L"/media/a/1.bin", L"wrongname."),
                                    L"https://127.0.0.1:1/"};
    std::size_t before = 0;
    for (std::size_t i = 0; i < 120; ++i) {
        before = i == 20 ? OpenHandles() : before;
        // Every other time without a session: the private one must be closed too.
        InternetSession* chosen = i % 2 != 0 ? session_.get() : nullptr;
        std::uint32_t length = 0;
        ASSERT_TRUE(HttpGet(chosen, MediaUrl(L"5000.bin").c_str(), &length, nullptr));
        HttpGet(chosen, failing[i % std::size(failing)].c_str(), &length, nullptr);
        ASSERT_EQ(length, 0u);
    }
    EXPECT_GT(before, 0u);
    // Connections kept alive for the next request come and go.
    EXPECT_LE(OpenHandles(), before + 10);
}

}  // namespace
}  // namespace pixelforge::test
