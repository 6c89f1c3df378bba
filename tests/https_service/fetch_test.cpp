// The fetcher against a service that misbehaves as real ones do; what is requested, cached and rejected.
#include <gmock/gmock.h>

#include <windows.h>

#include <objbase.h>
#include <wininet.h>

#include <filesystem>
#include <thread>
#include <tuple>
#include <vector>

#include "base/load_error.h"
#include "base/text.h"
#include "media/document_media.h"
#include "media/image_decoder.h"
#include "preview/host/debug_capture.h"
#include "tests/https_service/service_support.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

std::vector<DWORD> requestFlags;

HINTERNET WINAPI OpenUrl(HINTERNET internet, const wchar_t* url, const wchar_t* headers, DWORD length,
                         DWORD flags, DWORD_PTR context) {
    requestFlags.push_back(flags);
    return SystemCall<decltype(&InternetOpenUrlW)>("wininet", "InternetOpenUrlW")(internet, url, headers,
                                                                                  length, flags, context);
}

/// Results of the next calls, from the last to the first; then the system's.
std::vector<ULONGLONG> ticks;

ULONGLONG WINAPI TickCount() {
    if (ticks.empty()) {
        return SystemCall<decltype(&GetTickCount64)>("kernel32", "GetTickCount64")();
    }
    const ULONGLONG tick = ticks.back();
    ticks.pop_back();
    return tick;
}

}  // namespace

extern "C" {
decltype(&GetTickCount64) __imp_GetTickCount64 = TickCount;
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
    const auto plain = AllOf(HasSubstr(kUserAgent), Not(HasSubstr("\tReferer:")), Not(HasSubstr("\tCookie:")),
                             Not(HasSubstr("\tX-Extra:")));
    const auto extended = AllOf(HasSubstr("\tX-Extra: 17\t"), Not(HasSubstr("\tCookie:")));
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

TEST_F(HttpGetTest, ABodyOfFewBytesFailsAfterAMinute) {
    for (const auto& [elapsed, failure] :
         {std::pair(60'000ULL, ""), {60'001ULL, "the service sends too slowly"}}) {
        ticks = {elapsed, 0};
        EXPECT_EQ(FailureOf([&] { HttpGetReply(session_.get(), MediaUrl(L"1.bin").c_str(), nullptr); }),
                  failure);
        EXPECT_TRUE(ticks.empty());
    }
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

class FetchWithCacheTest : public ServiceTest {
protected:
    bool Download(const wchar_t* id, const wchar_t* src) {
        return DownloadToCacheFile(session_.get(), id, src, path_, reason_);
    }

    wchar_t path_[kPathUnits] = {};
};

TEST_F(FetchWithCacheTest, RequestsOnceAndThenReadsTheCachedFile) {
    const std::wstring search = Url(L"/api/v1/shaders/query/sea?key=fz3kq9");
    for (const std::wstring& url : {ShaderUrl(L"redfox"), ShaderUrl(L"REDFOX"), ShaderUrl(L"gzip-RedFox"),
                                    search, MediaUrl(L"300.bin")}) {
        const auto fetched = Fetch(url);
        ASSERT_TRUE(fetched) << reason_;
        EXPECT_EQ(Fetch(url), fetched);
    }
    EXPECT_THAT(Requests(), SizeIs(5));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/300.bin", "Searches/ONSWCP3LMV4T2ZT2GNVXCOIA.json",
                                           "Shaders/gzip-redfox_120.json", "Shaders/redfox_0.json",
                                           "Shaders/redfox_3F.json"));
    EXPECT_EQ(ReadCached("Assets/300.bin"), Pattern(300));
    EXPECT_THAT(ReadCached("Shaders/redfox_3F.json"), HasSubstr("\"REDFOX\""));
    EXPECT_THAT(ReadCached("Shaders/gzip-redfox_120.json"), EndsWith("}\nTrailing words"))
        << "stored as received";
}

TEST_F(FetchWithCacheTest, StoresOnlyGoodResponses) {
    const std::wstring media = L"/media/a/10.bin";
    const std::pair<const char*, std::vector<std::wstring>> cases[] = {
        {"status 404", {ShaderUrl(L"missing-red1")}},
        {"status 500", {ShaderUrl(L"broken-red1")}},
        {"status 503", {ShaderUrl(L"brokencut-red1")}},
        {"status 206", {MediaUrl(L"partial-10.bin")}},
        {"error document", {ShaderUrl(L"error-red1")}},
        {"response is empty", {ShaderUrl(L"empty-red1"), MediaUrl(L"empty-10.bin")}},
        {"cut short", {ShaderUrl(L"cut-red1"), MediaUrl(L"identitycut-10.bin")}},
        {"", {ShaderUrl(L"chunkcut-red1"), ShaderUrl(L"gzipcut-red1")}},
        {"larger than 64 MiB", {ShaderUrl(L"liar-red1"), ShaderUrl(L"bomb-red1")}},
        {"exceeds 1 GiB", {MediaUrl(L"liar-10.bin")}},
        {"without a response", {ShaderUrl(L"closed-red1")}},
        {"32-bit", {MediaUrl(L"wrapped-10.bin"), MediaUrl(L"word-10.bin"), MediaUrl(L"nothing-10.bin")}},
        {"decompressed (error 12175)", {MediaUrl(L"notgzip-10.bin")}},
        {"more than 10 times", {MediaUrl(L"hop-hop-hop-hop-hop-hop-hop-hop-hop-hop-hop-10.bin")}},
        {"without https", {MediaUrl(L"plain-10.bin"), MediaUrl(L"hop-plain-redirect-10.bin")}},
        {"error 12057", {Url(media, L"untrusted.")}},
        {"error 12038", {Url(media, L"wrongname.")}},
        {"cannot be reached",
         {Url(media, L"nowhere."), L"https://127.0.0.1:1" + media, L"unknown://x" + media}},
    };
    for (const auto& [reason, urls] : cases) {
        for (const std::wstring& url : urls) {
            SCOPED_TRACE(testing::PrintToString(url));
            EXPECT_FALSE(Fetch(url));
            EXPECT_THAT(reason_, HasSubstr(reason));
            EXPECT_THAT(CachedFiles(), IsEmpty());
            EXPECT_TRUE(Fetch(ShaderUrl(L"red1"))) << reason_;
            EXPECT_TRUE(std::filesystem::remove(root_ / "Shaders" / "red1_0.json"));
        }
    }
}

TEST_F(FetchWithCacheTest, RequestsEncodedNamesFromTheServiceAndWhereItRedirects) {
    ASSERT_TRUE(Fetch(MediaUrl(L"redirect-21.bin")));
    Download(L"red1", L"aZ09-._~\uFF0E\uFF0F%2F.bin");
    Download(L"red1", MediaUrl(L"%C3%A4.bin").c_str());
    Download(L"\u4E2D", nullptr);
    const std::string host = Narrow(kServiceHost, TextEncoding::Utf8).value();
    EXPECT_THAT(Requests(), ElementsAre(StartsWith(host + " /media/a/redirect-21.bin\t"),
                                        StartsWith("elsewhere." + host + " "),
                                        StartsWith(host + " /media/a/aZ09-._~%EF%BC%8E%EF%BC%8F%252F.bin\t"),
                                        StartsWith(host + " /media/a/%C3%A4.bin\t"),
                                        StartsWith(host + " /api/v1/shaders/%E4%B8%AD?key=")));
}

TEST_F(FetchWithCacheTest, RejectsBadNamesWithoutARequest) {
    for (const std::wstring& url : {Url(L"/"), ShaderUrl(L""), ShaderUrl(L"..\\red"), ShaderUrl(L".."),
                                    MediaUrl(L"CON"), MediaUrl(std::wstring(300, L'1'))}) {
        EXPECT_FALSE(Fetch(url)) << testing::PrintToString(url);
    }
    for (const wchar_t* src : {L"", L"/media/a/", L"..\\..\\1.bin", L"x/..", L"/media/a/NUL"}) {
        EXPECT_FALSE(Download(L"red1", src)) << testing::PrintToString(src);
    }
    EXPECT_FALSE(Download(L"..\\red1", nullptr));
    EXPECT_FALSE(Download(L"..", nullptr));
    EXPECT_FALSE(Download(nullptr, L"1.bin"));
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_THAT(CachedFiles(), IsEmpty());
}

TEST_F(FetchWithCacheTest, ReturnsACachedFileUnchecked) {
    for (const std::string bytes : {"{\"Error\":\"kept\"} and more", ""}) {
        WriteCached("Shaders/red1_0.json", bytes);
        EXPECT_EQ(Fetch(ShaderUrl(L"red1")), bytes);
    }
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(FetchWithCacheTest, ADownloadSucceedsEvenIfItCannotBeStored) {
    EXPECT_TRUE(Download(L"red1", L"/media/a/30.bin"));
    EXPECT_EQ(std::filesystem::path(path_), root_ / "Assets" / "30.bin");
    EXPECT_TRUE(Download(L"red1", L"30.bin")) << "now from disk";
    EXPECT_TRUE(Download(L"Red1", nullptr));
    EXPECT_EQ(std::filesystem::path(path_), root_ / "Shaders" / "Red1.json");
    EXPECT_THAT(Requests(), SizeIs(2));
    EXPECT_FALSE(Download(L"red1", L"/media/a/missing-1.bin"));
    EXPECT_FALSE(Download(L"red1", L"/media/a/cut-100.bin"));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/30.bin", "Shaders/Red1.json"));
    std::filesystem::remove_all(root_ / "Assets");
    WriteCached("Assets", "no folder");
    EXPECT_TRUE(Download(L"red1", L"/media/a/31.bin"));
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(FetchWithCacheTest, ALoadRequestsEachFileOfADrawnPassOnce) {
    for (const std::size_t requests : {2, 3}) {  // the second load asks again for what is missing
        const auto document = NewHeapRecord<ShaderDocument>();
        document->mediaBytes = kMediaBudget;
        for (std::uint32_t slot = 0; slot < kPassSlots; ++slot) {
            document->passes[slot].kind = static_cast<PassKind>(slot);
            for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
                PassInput& input = document->passes[slot].inputs[channel];
                input.ctype = channel < 3 ? ChannelType::Texture : ChannelType::Volume;
                CopyCut(input.src, slot == 0 ? L"33.bin" : channel % 2 == 0 ? L"missing-1.bin" : L"32.bin");
            }
        }
        document->passes[1].inputs[0].src[0] = L'\0';
        const preview::DebugCapture capture;
        EXPECT_TRUE(LoadDocumentMedia(session_.get(), *document));
        EXPECT_THAT(capture.Lines(), AllOf(SizeIs(13), Each(HasSubstr("missing-1.bin: "))))
            << "not the empty name";
        EXPECT_THAT(Requests(), SizeIs(requests));
        EXPECT_EQ(document->mediaBytes, 0u);
        EXPECT_FALSE(document->passes[7].inputs[2].medium);
        EXPECT_EQ(document->passes[1].inputs[3].medium, document->passes[7].inputs[3].medium);
        EXPECT_NE(document->passes[7].inputs[1].medium, document->passes[7].inputs[3].medium);
    }
}

}  // namespace
}  // namespace pixelforge::test
