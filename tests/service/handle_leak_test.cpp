// Hundreds of failing and of good fetches leave no handle open.
#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

#include "base/win_handles.h"
#include "library/http_get.h"
#include "library/internet_session.h"
#include "tests/service/service_text.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

TEST(OpenHandles, AreCounted) {
    const std::size_t before = OpenHandles();
    std::vector<UniqueKernelHandle> planted;
    for (int i = 0; i < 50; ++i) {
        planted.emplace_back(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    }
    EXPECT_GE(before, 1u);
    EXPECT_EQ(OpenHandles(), before + planted.size());
}

void FetchAll(InternetSession* session, std::size_t rounds) {
    const std::wstring good = MediaUrl(L"5000.bin");
    const std::wstring failing[] = {
        MediaUrl(L"cut-5000.bin"),
        MediaUrl(L"closed-5000.bin"),
        Url(L"/media/a/1.bin", L"untrusted."),
        Url(L"/media/a/1.bin", L"wrongname."),
        L"https://127.0.0.1:1/",
    };
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < rounds; ++i) {
        // Without a session every other time: the private one must go as well.
        InternetSession* chosen = i % 2 != 0 ? session : nullptr;
        ASSERT_TRUE(HttpGet(chosen, good.c_str(), &length, nullptr));
        const HttpReply reply = HttpGetReply(chosen, failing[i % std::size(failing)].c_str(), nullptr);
        ASSERT_TRUE(!reply.body || reply.status == 0);
    }
}

TEST(OpenHandles, StayTheSameOverManyFetches) {
    const auto session = OpenInternetSession();
    FetchAll(session.get(), 20);
    const std::size_t before = OpenHandles();
    FetchAll(session.get(), PIXELFORGE_FETCHES);
    // Connections that are kept for the next request come and go.
    EXPECT_LE(OpenHandles(), before + 10);
}

}  // namespace
}  // namespace pixelforge::test
