// Hundreds of failing and of good fetches leave no handle open.
#include <gtest/gtest.h>

#include <windows.h>

#include "base/win_handles.h"
#include "library/http_get.h"
#include "tests/service/service_support.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

void FetchAll(InternetSession* session, std::size_t rounds) {
    const std::wstring failing[] = {MediaUrl(L"cut-5000.bin"), MediaUrl(L"closed-5000.bin"),
                                    Url(L"/media/a/1.bin", L"untrusted."),
                                    Url(L"/media/a/1.bin", L"wrongname."), L"https://127.0.0.1:1/"};
    for (std::size_t i = 0; i < rounds; ++i) {
        // Without a session every other time: the private one must go as well.
        InternetSession* chosen = i % 2 != 0 ? session : nullptr;
        ASSERT_TRUE(HttpGetReply(chosen, MediaUrl(L"5000.bin").c_str(), nullptr).body);
        const HttpReply reply = HttpGetReply(chosen, failing[i % std::size(failing)].c_str(), nullptr);
        ASSERT_TRUE(!reply.body || reply.status == 0);
    }
}

/// The number of rounds is part of the name: the short and the long program have both this test.
class ManyFetches : public ServiceTest, public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Service, ManyFetches, testing::Values(PIXELFORGE_FETCHES),
                         testing::PrintToStringParamName());

TEST_P(ManyFetches, LeaveNoHandleOpen) {
    constexpr std::size_t kPlanted = 50;
    FetchAll(session_.get(), 20);
    const std::size_t before = OpenHandles();
    FetchAll(session_.get(), GetParam());
    const std::size_t after = OpenHandles();
    // Connections that are kept for the next request come and go.
    EXPECT_LE(after, before + 10);

    UniqueKernelHandle planted[kPlanted];
    for (UniqueKernelHandle& handle : planted) {
        handle.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    }
    EXPECT_GE(OpenHandles(), after + kPlanted) << "a leak would be seen";
}

}  // namespace
}  // namespace pixelforge::test
