// What is requested, cached and rejected, up to the module that draws a playlist of identifiers.
#include <gmock/gmock.h>

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <vector>

#include "base/random.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "media/document_media.h"
#include "media/image_decoder.h"
#include "preview/host/staged_shader.h"
#include "preview/preview_run.h"
#include "tests/https_service/service_support.h"
#include "tests/support/module_run.h"

namespace pixelforge::test {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using FetchWithCacheTest = ServiceTest;

TEST_F(FetchWithCacheTest, RequestsOnceAndThenReadsTheCachedFileUnchecked) {
    for (const std::string cached : {"{\"Error\":\"kept\"} and more", ""}) {
        WriteCached("Shaders/old_0.json", cached);
        EXPECT_EQ(Fetch(ShaderUrl(L"old")), cached);
    }
    const std::wstring search = Url(L"/api/v1/shaders/query/sea?key=fz3kq9");
    for (const std::wstring& url : {ShaderUrl(L"redfox"), ShaderUrl(L"REDFOX"), ShaderUrl(L"gzip-RedFox"),
                                    search, MediaUrl(L"300.bin")}) {
        const auto fetched = Fetch(url);
        ASSERT_TRUE(fetched) << reason_;
        EXPECT_EQ(Fetch(url), fetched);
    }
    EXPECT_THAT(Requests(), SizeIs(5));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/300.bin", "Searches/ONSWCP3LMV4T2ZT2GNVXCOIA.json",
                                           "Shaders/gzip-redfox_120.json", "Shaders/old_0.json",
                                           "Shaders/redfox_0.json", "Shaders/redfox_3F.json"));
    EXPECT_EQ(ReadCached("Assets/300.bin"), Pattern(300));
    EXPECT_THAT(ReadCached("Shaders/redfox_3F.json"), HasSubstr("\"REDFOX\""));
    EXPECT_THAT(ReadCached("Shaders/gzip-redfox_120.json"), testing::EndsWith("}\nTrailing words"));
}

TEST_F(FetchWithCacheTest, StoresOnlyGoodResponses) {
    const std::wstring media = L"/media/a/10.bin";
    const std::pair<const char*, std::vector<std::wstring>> cases[] = {
        {"status 300", {MediaUrl(L"300-10.bin")}},
        {"status 503", {ShaderUrl(L"brokencut-red1")}},
        {"status 206", {MediaUrl(L"206-10.bin")}},
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
        {"without https", {MediaUrl(L"plain-10.bin"), MediaUrl(L"hop-plain-10.bin")}},
        {"error 12057", {Url(media, L"untrusted.")}},
        {"error 12038", {Url(media, L"wrongname.")}},
        {"cannot be reached", {Url(media, L"nowhere."), L"https://127.0.0.1:1" + media, L"none://x" + media}},
    };
    for (const auto& [reason, urls] : cases) {
        for (const std::wstring& url : urls) {
            SCOPED_TRACE(testing::PrintToString(url));
            EXPECT_FALSE(Fetch(url));
            EXPECT_THAT(reason_, HasSubstr(reason));
            EXPECT_THAT(CachedFiles(), IsEmpty());
            EXPECT_TRUE(Fetch(ShaderUrl(L"299-red1"))) << reason_;
            EXPECT_TRUE(fs::remove(root_ / "Shaders" / "299-red1_0.json"));
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
    for (const std::wstring& url : {Url(L"/"), ShaderUrl(L".."), MediaUrl(std::wstring(250, L'1'))}) {
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

TEST_F(FetchWithCacheTest, ADownloadSucceedsEvenIfItCannotBeStored) {
    EXPECT_TRUE(Download(L"red1", L"/media/a/30.bin"));
    EXPECT_EQ(fs::path(path_), root_ / "Assets" / "30.bin");
    EXPECT_TRUE(Download(L"red1", L"30.bin")) << "now from disk";
    EXPECT_TRUE(Download(L"Red1", nullptr));
    EXPECT_EQ(fs::path(path_), root_ / "Shaders" / "Red1.json");
    EXPECT_THAT(Requests(), SizeIs(2));
    EXPECT_FALSE(Download(L"red1", L"/media/a/404-1.bin"));
    EXPECT_FALSE(Download(L"red1", L"/media/a/cut-100.bin"));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/30.bin", "Shaders/Red1.json"));
    fs::remove_all(root_ / "Assets");
    WriteCached("Assets", "no folder");
    EXPECT_TRUE(Download(L"red1", L"/media/a/31.bin"));
    EXPECT_FALSE(fs::exists(path_));
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
                CopyCut(input.src, slot == 0 ? L"33.bin" : channel % 2 == 0 ? L"404-1.bin" : L"32.bin");
            }
        }
        document->passes[1].inputs[0].src[0] = L'\0';
        Capture().Clear();
        EXPECT_TRUE(LoadDocumentMedia(session_.get(), *document));
        EXPECT_THAT(Capture().Lines(), AllOf(SizeIs(13), Each(HasSubstr("404-1.bin: ")))) << "no empty name";
        EXPECT_THAT(Requests(), SizeIs(requests));
        EXPECT_EQ(document->mediaBytes, 0u);
        EXPECT_FALSE(document->passes[7].inputs[2].medium);
        EXPECT_EQ(document->passes[1].inputs[3].medium, document->passes[7].inputs[3].medium);
        EXPECT_NE(document->passes[7].inputs[1].medium, document->passes[7].inputs[3].medium);
    }
}

/// Resets after every drawn frame until it has seen four colours and a failure. Returns the failed frames.
std::size_t Play(const std::string& lines) {
    ModuleRun run(preview::StagedShader::OfPlaylist(BytesOf(lines)), {.settings = {{"Min Reset Time", "1"}}});
    std::set<std::uint32_t> colours;
    std::size_t failed = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(50);
    while ((colours.size() < 4 || failed == 0) && std::chrono::steady_clock::now() < deadline) {
        const FrameResult result = run.Frame();
        failed += result == FrameResult::Failed ? 1 : 0;
        // Left on, it would leave a slow machine no time to draw.
        run.Session().Controls().Apply({"Reset Event", result == FrameResult::Drawn ? "1" : "0"});
        if (result == FrameResult::Drawn) {
            colours.insert(run.Pixel(0, 0));
        }
    }
    EXPECT_THAT(colours, ElementsAre(0x0000FFu, 0x00FF00u, 0xFF0000u, 0xFFFF00u));
    EXPECT_GE(failed, 1u);
    return failed;
}

TEST_F(ServiceTest, APlaylistRequestsGoodShadersOnceAndDeadOnesEveryFrame) {
    // The cache outlives this program, so identifiers are new; a capital would change the file name's mask.
    const fs::path cache =
        fs::path(preview::ModulePathBesideProgram()).parent_path() / "Pixelforge" / "PixelforgeCache";
    const std::string stamp = std::to_string(SystemRandom() % 100'000'000);
    const std::string good[] = {"red" + stamp, "green" + stamp, "blue" + stamp, "tile" + stamp};
    std::string lines = "deadone\r\ncut-red\r\n";
    for (const std::string& id : good) {
        lines += id + "\r\n";
    }
    const std::string bait = "tile" + stamp + ".bmp";
    std::ofstream(bait) << "A stranger's document must not find this in the current folder.";
    // The second time they are read from disk.
    const std::size_t failed = Play(lines) + Play(lines);
    EXPECT_THAT(Requests(), SizeIs(std::size(good) + 1 + failed)) << "and the tile's picture";
    for (const std::string& id : good) {
        EXPECT_THAT(Requests(), Contains(HasSubstr(" /api/v1/shaders/" + id + "?key=fz3kq9\t")));
        EXPECT_TRUE(fs::exists(cache / "Shaders" / (id + "_0.json")));
        preview::ForgetCachedShader(id);
        EXPECT_FALSE(fs::exists(cache / "Shaders" / (id + "_0.json")));
    }
    EXPECT_THAT(Requests(), Contains(HasSubstr(" /media/a/" + bait + "\t")));
    EXPECT_TRUE(fs::remove(cache / "Assets" / bait));
    EXPECT_TRUE(fs::remove(bait));
    EXPECT_THAT(Capture().Lines(),
                Contains(AnyOf(HasSubstr("deadone: the service returned status 404"),
                               HasSubstr("cut-red: the service's response was cut short"))));
}

TEST(Playlist, OneThatYieldsNoLineIsReportedWithTheCause) {
    for (const auto& [lines, words] : {std::pair("", "empty playlist: D:"),
                                       {"deadone", "no complete line"},
                                       {"locked\n", "cannot read the playlist D:"}}) {
        preview::StagedShader playlist = preview::StagedShader::OfPlaylist(BytesOf(lines));
        const DWORD reading = *lines == 'l' ? 0 : FILE_SHARE_READ;
        const UniqueKernelHandle held =
            AdoptFileHandle(CreateFileW(playlist.Path().c_str(), GENERIC_READ, reading | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(held);
        ModuleRun run(std::move(playlist));
        EXPECT_EQ(run.Frame(), FrameResult::Failed);
        EXPECT_THAT(run.Words(), HasSubstr(words));
    }
}

}  // namespace
}  // namespace pixelforge::test
