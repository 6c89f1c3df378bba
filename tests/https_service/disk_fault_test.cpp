// A cache on a failing disk: fetches fail or work around it and leave no partial files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <process.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "base/win_handles.h"
#include "service/service_client.h"
#include "service/shader_cache.h"
#include "tests/https_service/service_support.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using DiskFaultTest = ServiceTest;

TEST_F(DiskFaultTest, AFullDiskKeepsOnlyCompleteFiles) {
    const char* limit = std::getenv("PIXELFORGE_FILE_LIMIT");
    ASSERT_TRUE(limit) << "run this test through with_service";
    const std::size_t fits = std::stoul(limit);
    EXPECT_TRUE(Fetch(MediaUrl(std::to_wstring(fits) + L".bin")));
    EXPECT_FALSE(Fetch(MediaUrl(std::to_wstring(fits + 1) + L".bin")));
    EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin", "Assets/" + std::to_string(fits) + ".bin"));
}

TEST_F(DiskFaultTest, AReadOnlyDiskFailsTheFetch) {
    // Not even root can create files or folders in this file system.
    const std::wstring fixed = L"Z:\\sys\\kernel";
    ASSERT_TRUE(std::filesystem::is_directory(fixed));
    EXPECT_TRUE(CreateCacheFolders(fixed.c_str(), (fixed + L"\\cache").c_str()));
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    const std::uint8_t byte = 1;
    EXPECT_FALSE(StoreResponse((fixed + L"\\x.bin").c_str(), {&byte, 1}));
}

TEST_F(DiskFaultTest, ADeletedFolderIsRecreated) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
        EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin"));
        std::filesystem::remove_all(root_ / "Assets");
    }
    std::filesystem::remove_all(root_);
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin"))) << "only one level is created";
}

TEST_F(DiskFaultTest, AFolderInPlaceOfAFileOrTheReverseFailsTheFetch) {
    std::filesystem::create_directory(root_ / "Assets" / "10.bin");
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(CachedFiles(), IsEmpty());
    std::filesystem::remove_all(root_ / "Assets");
    WriteCached("Assets", "a file");
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets"));
    EXPECT_TRUE(Fetch(ShaderUrl(L"red1")));
}

TEST_F(DiskFaultTest, OnlyOldTemporaryFilesAreRemovedAtStart) {
    std::filesystem::create_directories(root_ / "own" / "Shaders");
    for (const char* file :
         {"Assets/~0123456789ABCDEF.tmp", "Shaders/~00000000FFFFFFFF.tmp", "Assets/~old.tmp",
          "Assets/picture.tmp", "Searches/~0123456789ABCDEG.tmp", "own/Shaders/~0123456789ABCDEF.tmp"}) {
        WriteCached(file, "left over");
        std::filesystem::last_write_time(
            root_ / file, std::filesystem::file_time_type::clock::now() - std::chrono::hours(25));
    }
    WriteCached("Assets/~0123456789ABCDE0.tmp", "being written");
    CreateCacheFolders((root_ / "own").c_str(), root_.c_str());
    EXPECT_THAT(CachedFiles(),
                ElementsAre("Assets/picture.tmp", "Assets/~0123456789ABCDE0.tmp", "Assets/~old.tmp",
                            "Searches/~0123456789ABCDEG.tmp", "own/Shaders/~0123456789ABCDEF.tmp"));
}

TEST_F(DiskFaultTest, AnUnreadableCachedFileFailsWithoutARequest) {
    WriteCached("Assets/10.bin", "0123456789");
    const UniqueKernelHandle held =
        AdoptFileHandle(CreateFileW((root_ / "Assets" / "10.bin").c_str(), GENERIC_READ, 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held);
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(DiskFaultTest, ACachedDocumentAbove64MiBIsNotRead) {
    WriteCached("Shaders/red1_0.json", "{}");
    UniqueKernelHandle file =
        AdoptFileHandle(CreateFileW((root_ / "Shaders" / "red1_0.json").c_str(), GENERIC_READ | GENERIC_WRITE,
                                    0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    // A mapping enlarges the file beyond this process's limit.
    UniqueKernelHandle mapping(
        CreateFileMappingW(file.Get(), nullptr, PAGE_READWRITE, 0, (64u << 20) + 1, nullptr));
    ASSERT_TRUE(mapping);
    mapping.Reset();
    file.Reset();
    EXPECT_FALSE(Fetch(ShaderUrl(L"red1")));
    EXPECT_EQ(reason_, "the document is larger than 64 MiB");
}

constexpr int kSharedFiles = 40;

/// Fetches the same files in every thread and process, so that several fill one cache concurrently.
void FillCache() {
    const auto session = OpenInternetSession();
    for (int i = 0; i < kSharedFiles; ++i) {
        const std::wstring url = MediaUrl(std::to_wstring(20000 + i) + L".bin");
        std::uint32_t length = 0;
        std::string reason;
        const HeapBytes body = FetchWithCache(session.get(), url.c_str(), &length, reason);
        ASSERT_TRUE(body) << reason;
        ASSERT_EQ(std::string(reinterpret_cast<const char*>(body.get()), length), Pattern(length));
    }
}

/// Starts this program again, for the current test only.
std::intptr_t StartSecondProcess() {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string("--gtest_filter=") + test.test_suite_name() + "." + test.name();
    return _wspawnl(_P_NOWAIT, program, L"test", std::wstring(name.begin(), name.end()).c_str(), nullptr);
}

TEST_F(DiskFaultTest, ProcessesAndThreadsFillOneCacheWithCompleteFiles) {
    if (const wchar_t* shared = _wgetenv(L"PIXELFORGE_SHARED_CACHE")) {
        // The second process, whose summary must not be mistaken for ours.
        ASSERT_TRUE(std::freopen("NUL", "w", stdout));
        CreateCacheFolders(nullptr, shared);
        return FillCache();
    }
    SetEnvironmentVariableW(L"PIXELFORGE_SHARED_CACHE", root_.c_str());
    const std::intptr_t other = StartSecondProcess();
    ASSERT_NE(other, -1);
    std::thread second(FillCache);
    FillCache();
    second.join();
    int status = -1;
    _cwait(&status, other, 0);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(CachedFiles(), SizeIs(kSharedFiles));
    for (const std::string& file : CachedFiles()) {
        EXPECT_EQ(ReadCached(file), Pattern(std::stoul(file.substr(file.find('/') + 1)))) << file;
    }
}

}  // namespace
}  // namespace pixelforge::test
