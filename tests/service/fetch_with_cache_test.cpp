// Cache, network, cache: what is asked, what is kept, what is refused.
#include "library/service_client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "library/internet_session.h"
#include "library/shader_cache.h"
#include "tests/service/request_log.h"
#include "tests/service/service_text.h"
#include "tests/service/temp_cache.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class FetchWithCacheTest : public testing::Test {
protected:
    std::optional<std::string> Fetch(const std::wstring& url) {
        std::uint32_t length = 0;
        reason_.clear();
        const HeapBytes body = FetchWithCache(session_.get(), url.c_str(), &length, reason_);
        EXPECT_EQ(body == nullptr, !reason_.empty()) << reason_;
        if (!body) {
            return std::nullopt;
        }
        EXPECT_EQ(body[length], 0);
        return std::string(reinterpret_cast<const char*>(body.get()), length);
    }

    TempCache cache_;
    RequestLog log_;
    std::string reason_;
    HeapRecord<InternetSession> session_ = OpenInternetSession();
};

TEST_F(FetchWithCacheTest, AsksOnceAndReadsTheFileFromThenOn) {
    const std::wstring search = Url(L"/api/v1/shaders/query/sea?key=fz3kq9");
    for (const std::wstring& url : {ShaderUrl(L"redFox"), search, MediaUrl(L"300.bin")}) {
        const auto fetched = Fetch(url);
        ASSERT_TRUE(fetched) << reason_;
        EXPECT_EQ(Fetch(url), fetched);
    }
    EXPECT_THAT(log_.Requests(), SizeIs(3));
    EXPECT_THAT(cache_.Files(), ElementsAre("Assets/300.bin", "Searches/ONSWCP3LMV4T2ZT2GNVXCOIA.json",
                                            "Shaders/redfox_8.json"));
    EXPECT_EQ(cache_.Read("Assets/300.bin"), Pattern(300));
}

TEST_F(FetchWithCacheTest, KeepsIdentifiersApartThatDifferByCase) {
    for (const wchar_t* id : {L"redfox", L"REDFOX", L"RedFox"}) {
        ASSERT_TRUE(Fetch(ShaderUrl(id))) << reason_;
    }
    EXPECT_THAT(cache_.Files(),
                ElementsAre("Shaders/redfox_0.json", "Shaders/redfox_3F.json", "Shaders/redfox_9.json"));
    EXPECT_THAT(*Fetch(ShaderUrl(L"REDFOX")), HasSubstr("\"REDFOX\""));
    EXPECT_THAT(log_.Requests(), SizeIs(3));
}

TEST_F(FetchWithCacheTest, KeepsNothingOfABadAnswer) {
    struct Fault {
        const wchar_t* manner;
        const char* reason;
    };
    for (const Fault& fault : {
             Fault{L"missing", "status 404"},
             {L"broken", "status 500"},
             {L"error", "error document"},
             {L"garbage", "brace"},
             {L"empty", "empty"},
             {L"cut", "broke off"},
             {L"chunkcut", ""},
             {L"gzipcut", ""},
             {L"liar", ""},
             {L"stall", "broke off"},
         }) {
        SCOPED_TRACE(testing::PrintToString(fault.manner));
        const std::wstring url = ShaderUrl(std::wstring(L"once-") + fault.manner + L"-red1");
        EXPECT_FALSE(Fetch(url));
        EXPECT_THAT(reason_, HasSubstr(fault.reason));
        EXPECT_THAT(cache_.Files(), IsEmpty());
        EXPECT_TRUE(Fetch(url)) << "good again: " << reason_;
        EXPECT_THAT(cache_.Files(), SizeIs(1));
        std::filesystem::remove(cache_.Root() / cache_.Files()[0]);
    }
}

TEST_F(FetchWithCacheTest, KeepsNothingOfAConnectionThatIsClosedWithoutAnAnswer) {
    EXPECT_FALSE(Fetch(ShaderUrl(L"closed-red1")));
    EXPECT_THAT(cache_.Files(), IsEmpty());
    EXPECT_TRUE(Fetch(ShaderUrl(L"red1"))) << reason_;
}

TEST_F(FetchWithCacheTest, KeepsNothingFromAnUntrustedServer) {
    EXPECT_FALSE(Fetch(Url(L"/media/a/10.bin", L"untrusted.")));
    EXPECT_FALSE(Fetch(Url(L"/media/a/10.bin", L"wrongname.")));
    EXPECT_THAT(cache_.Files(), IsEmpty());
    EXPECT_THAT(log_.Requests(), IsEmpty());
}

TEST_F(FetchWithCacheTest, AsksAnotherHostOnlyByRedirection) {
    ASSERT_TRUE(Fetch(MediaUrl(L"20.bin")));
    ASSERT_TRUE(Fetch(MediaUrl(L"redirect-21.bin")));
    const auto requests = log_.Requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].host, requests[1].host);
    EXPECT_EQ(requests[2].host, "elsewhere." + requests[0].host);
}

TEST_F(FetchWithCacheTest, RefusesWithoutARequestWhatHasNoFile) {
    for (const std::wstring& url : {
             Url(L"/"),
             Url(L"/api/v2/shaders/red1?key=fz3kq9"),
             ShaderUrl(L""),
             ShaderUrl(L"redredredredredredred"),
             ShaderUrl(L"..\\red"),
             ShaderUrl(L"a/red"),
             ShaderUrl(L"a:red"),
             MediaUrl(L""),
             MediaUrl(L"..\\1.bin"),
             MediaUrl(L"a/1.bin"),
             MediaUrl(L"CON"),
             MediaUrl(L"1.bin."),
             MediaUrl(L"1.bin "),
             MediaUrl(L"1.bin:2"),
             MediaUrl(std::wstring(300, L'1')),
             Url(L"/api/v1/shaders/query/" + std::wstring(161, L'q')),
         }) {
        EXPECT_FALSE(Fetch(url)) << testing::PrintToString(url);
    }
    EXPECT_THAT(log_.Requests(), IsEmpty());
    EXPECT_THAT(cache_.Files(), IsEmpty());
}

TEST_F(FetchWithCacheTest, ReturnsACachedFileAsItStands) {
    cache_.Write("Shaders/red1_0.json", "{\"Error\":\"kept\"} and more");
    EXPECT_EQ(Fetch(ShaderUrl(L"red1")), "{\"Error\":\"kept\"} and more");
    cache_.Write("Shaders/red2_0.json", "");
    EXPECT_EQ(Fetch(ShaderUrl(L"red2")), "");
    EXPECT_THAT(log_.Requests(), IsEmpty());
}

TEST_F(FetchWithCacheTest, StoresADocumentAsItWasReceived) {
    const auto fetched = Fetch(ShaderUrl(L"gzip-red1"));
    ASSERT_TRUE(fetched) << reason_;
    EXPECT_EQ(cache_.Read("Shaders/gzip-red1_0.json"), *fetched);
}

TEST_F(FetchWithCacheTest, ReportsSuccessForAFileThatTheCacheTurnsDown) {
    wchar_t path[kPathUnits] = {};
    EXPECT_TRUE(DownloadToCacheFile(session_.get(), L"red1", L"/media/a/30.bin", path));
    EXPECT_EQ(std::filesystem::path(path), cache_.Root() / "Assets" / "30.bin");
    EXPECT_TRUE(DownloadToCacheFile(session_.get(), L"red1", L"30.bin", path)) << "now from disk";
    EXPECT_TRUE(DownloadToCacheFile(session_.get(), L"Red1", nullptr, path));
    EXPECT_EQ(std::filesystem::path(path), cache_.Root() / "Shaders" / "Red1.json");
    EXPECT_THAT(log_.Requests(), SizeIs(2));
    std::filesystem::remove_all(cache_.Root() / "Assets");
    cache_.Write("Assets", "no folder");
    EXPECT_TRUE(DownloadToCacheFile(session_.get(), L"red1", L"/media/a/31.bin", path));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(FetchWithCacheTest, DownloadsNothingForABadName) {
    wchar_t path[kPathUnits] = {};
    const auto download = [&](const wchar_t* id, const wchar_t* src) {
        return DownloadToCacheFile(session_.get(), id, src, path);
    };
    for (const wchar_t* src :
         {L"", L"/media/a/", L"..\\..\\1.bin", L"x/..", L"/media/a/NUL", L"/media/a/1.bin."}) {
        EXPECT_FALSE(download(L"red1", src)) << testing::PrintToString(src);
    }
    EXPECT_FALSE(download(L"..\\red1", nullptr));
    EXPECT_FALSE(download(nullptr, L"1.bin"));
    EXPECT_FALSE(DownloadToCacheFile(nullptr, L"red1", L"1.bin", path));
    EXPECT_FALSE(DownloadToCacheFile(session_.get(), L"red1", L"1.bin", nullptr));
    EXPECT_THAT(log_.Requests(), IsEmpty());
    EXPECT_FALSE(download(L"red1", L"/media/a/missing-1.bin"));
    EXPECT_FALSE(download(L"red1", L"/media/a/cut-100.bin"));
    EXPECT_THAT(cache_.Files(), IsEmpty());
}

}  // namespace
}  // namespace pixelforge::test
