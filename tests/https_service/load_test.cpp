// Many good and failing fetches leave no handle open, and bodies as large as real media arrive complete. The
// counts are part of the test names because the short and the long program use different ones.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>

#include "base/win_handles.h"
#include "service/http_get.h"
#include "tests/https_service/service_support.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

class ManyFetches : public ServiceTest, public testing::WithParamInterface<std::size_t> {
protected:
    void FetchAll(std::size_t rounds) {
        const std::wstring failing[] = {MediaUrl(L"cut-5000.bin"),
                                        MediaUrl(L"closed-5000.bin"),
                                        MediaUrl(L"plain-1.bin"),
                                        Url(L"/media/a/1.bin", L"untrusted."),
                                        Url(L"/media/a/1.bin", L"wrongname."),
                                        L"https://127.0.0.1:1/"};
        for (std::size_t i = 0; i < rounds; ++i) {
            // Every other time without a session: the private one must be closed too.
            InternetSession* chosen = i % 2 != 0 ? session_.get() : nullptr;
            std::uint32_t length = 0;
            ASSERT_TRUE(HttpGet(chosen, MediaUrl(L"5000.bin").c_str(), &length, nullptr));
            HttpGet(chosen, failing[i % std::size(failing)].c_str(), &length, nullptr);
            ASSERT_EQ(length, 0u);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Load, ManyFetches, testing::Values(PIXELFORGE_FETCHES),
                         testing::PrintToStringParamName());

TEST_P(ManyFetches, LeaveNoHandleOpen) {
    constexpr std::size_t kPlanted = 50;
    FetchAll(20);
    const std::size_t before = OpenHandles();
    FetchAll(GetParam());
    const std::size_t after = OpenHandles();
    // Connections kept alive for the next request come and go.
    EXPECT_LE(after, before + 10);

    UniqueKernelHandle planted[kPlanted];
    for (UniqueKernelHandle& handle : planted) {
        handle.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    }
    EXPECT_GE(OpenHandles(), after + kPlanted) << "a leak would be detected";
}

class LargeBody : public ServiceTest, public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Load, LargeBody, testing::Values(PIXELFORGE_BODY_BYTES),
                         testing::PrintToStringParamName());

TEST_P(LargeBody, ArrivesCompleteWithAndWithoutALength) {
    const std::string pattern = Pattern(GetParam());
    const std::wstring name = std::to_wstring(GetParam()) + L".bin";
    for (const wchar_t* behaviour : {L"", L"chunked-", L"nolength-"}) {
        const HttpReply reply = HttpGetReply(session_.get(), MediaUrl(behaviour + name).c_str(), nullptr);
        ASSERT_EQ(reply.length, pattern.size());
        EXPECT_EQ(std::memcmp(reply.body.get(), pattern.data(), pattern.size()), 0);
    }
    std::uint32_t length = 0;
    EXPECT_FALSE(HttpGet(session_.get(), MediaUrl(L"cut-" + name).c_str(), &length, nullptr));
}

}  // namespace
}  // namespace pixelforge::test
