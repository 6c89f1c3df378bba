// A cache whose disk does not work: a fetch fails or goes around it, and nothing half is left.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "base/win_handles.h"
#include "library/internet_session.h"
#include "library/service_client.h"
#include "library/shader_cache.h"
#include "tests/service/fill_cache.h"
#include "tests/service/request_log.h"
#include "tests/service/service_text.h"
#include "tests/service/temp_cache.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class DiskFaultTest : public testing::Test {
protected:
    bool Fetch(const std::wstring& url) {
        std::uint32_t length = 0;
        std::string reason;
        return FetchWithCache(session_.get(), url.c_str(), &length, reason) != nullptr;
    }

    TempCache cache_;
    HeapRecord<InternetSession> session_ = OpenInternetSession();
};

TEST_F(DiskFaultTest, AFullDiskKeepsWhatFitsAndNothingHalf) {
    const char* limit = std::getenv("PIXELFORGE_FILE_LIMIT");
    ASSERT_TRUE(limit) << "this test runs by way of with_service --full-disk";
    const std::size_t fits = std::stoul(limit);
    EXPECT_TRUE(Fetch(MediaUrl(std::to_wstring(fits) + L".bin")));
    EXPECT_FALSE(Fetch(MediaUrl(std::to_wstring(fits + 1) + L".bin")));
    EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(cache_.Files(), ElementsAre("Assets/10.bin", "Assets/" + std::to_string(fits) + ".bin"));
}

/// A file system in which nobody can make a file or a folder.
constexpr wchar_t kFixedFolder[] = L"Z:\\sys\\kernel";

TEST_F(DiskFaultTest, ADiskThatCannotBeWrittenFailsTheFetch) {
    ASSERT_TRUE(std::filesystem::is_directory(kFixedFolder));
    EXPECT_TRUE(CreateCacheFolders(kFixedFolder, (kFixedFolder + std::wstring(L"\\cache")).c_str()));
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    const std::uint8_t byte = 1;
    EXPECT_FALSE(StoreResponse((kFixedFolder + std::wstring(L"\\x.bin")).c_str(), {&byte, 1}));
}

TEST_F(DiskFaultTest, AFolderThatVanishesIsMadeAgain) {
    EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
    std::filesystem::remove_all(cache_.Root() / "Assets");
    EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(cache_.Files(), ElementsAre("Assets/10.bin"));
    std::filesystem::remove_all(cache_.Root());
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin"))) << "only one level is made";
    CreateCacheFolders(nullptr, cache_.Root().c_str());
    EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
}

TEST_F(DiskFaultTest, AFileInTheFoldersPlaceFailsTheFetch) {
    std::filesystem::remove_all(cache_.Root() / "Assets");
    cache_.Write("Assets", "a file");
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(cache_.Files(), ElementsAre("Assets"));
    EXPECT_TRUE(Fetch(ShaderUrl(L"red1")));
}

TEST_F(DiskFaultTest, AFolderInTheFilesPlaceFailsTheFetch) {
    std::filesystem::create_directory(cache_.Root() / "Assets" / "10.bin");
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(cache_.Files(), IsEmpty());
}

TEST_F(DiskFaultTest, ACachedFileThatCannotBeOpenedFailsWithoutARequest) {
    cache_.Write("Assets/10.bin", "0123456789");
    const UniqueKernelHandle held =
        AdoptFileHandle(CreateFileW((cache_.Root() / "Assets" / "10.bin").c_str(), GENERIC_READ, 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held);
    const RequestLog log;
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(log.Requests(), IsEmpty());
}

/// The program "cache_filler" beside this one.
UniqueKernelHandle StartFiller() {
    wchar_t own[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::filesystem::path program = std::filesystem::path(own).parent_path() / "cache_filler.exe";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        return {};
    }
    CloseHandle(process.hThread);
    return UniqueKernelHandle(process.hProcess);
}

TEST_F(DiskFaultTest, TwoProcessesAndThreadsFillOneCacheWithWholeFiles) {
    SetEnvironmentVariableW(L"PIXELFORGE_SHARED_CACHE", cache_.Root().c_str());
    const UniqueKernelHandle other = StartFiller();
    ASSERT_TRUE(other);
    std::thread second([] { EXPECT_TRUE(FillCache()); });
    EXPECT_TRUE(FillCache());
    second.join();
    ASSERT_EQ(WaitForSingleObject(other.Get(), 60000), WAIT_OBJECT_0);
    DWORD status = 1;
    GetExitCodeProcess(other.Get(), &status);
    EXPECT_EQ(status, 0u);
    EXPECT_THAT(cache_.Files(), SizeIs(kSharedFiles));
    for (const std::string& file : cache_.Files()) {
        EXPECT_EQ(cache_.Read(file), Pattern(std::stoul(file.substr(file.find('/') + 1)))) << file;
    }
}

}  // namespace
}  // namespace pixelforge::test
