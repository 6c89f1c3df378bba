// A cache on a failing disk: fetches fail or work around it and leave no partial files.
#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "base/win_handles.h"
#include "service/service_client.h"
#include "service/shader_cache.h"
#include "tests/https_service/service_support.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::function<void(HANDLE)> atFlush = [](HANDLE) {};
DWORD flushError = 0;
std::vector<std::filesystem::path> compressed;

BOOL WINAPI Flush(HANDLE file) {
    std::exchange(atFlush, [](HANDLE) {})(file);
    SetLastError(flushError);
    return flushError == 0 && SystemCall<decltype(&FlushFileBuffers)>("kernel32", "FlushFileBuffers")(file);
}

BOOL WINAPI Control(HANDLE folder, DWORD code, void* in, DWORD, void*, DWORD, DWORD*, OVERLAPPED*) {
    wchar_t path[kPathUnits] = {};
    GetFinalPathNameByHandleW(folder, path, kPathUnits, 0);
    EXPECT_EQ(code, 0x9C040u);
    EXPECT_EQ(*static_cast<USHORT*>(in), 1);
    compressed.push_back(std::filesystem::path(path).filename());
    return FALSE;
}

}  // namespace

// The program's imports of these functions: disks that fail to flush and disks that compress are not there.
extern "C" {
decltype(&FlushFileBuffers) __imp_FlushFileBuffers = Flush;
decltype(&DeviceIoControl) __imp_DeviceIoControl = Control;
}

namespace {

class DiskFaultTest : public ServiceTest {
protected:
    ~DiskFaultTest() override {
        atFlush = [](HANDLE) {};
        flushError = 0;
    }

    static bool Store(const std::filesystem::path& path, std::string_view text) {
        return StoreResponse(path.c_str(), {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
    static UniqueKernelHandle Open(const std::filesystem::path& path, DWORD access = GENERIC_READ) {
        return AdoptFileHandle(
            CreateFileW(path.c_str(), access, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    const std::filesystem::path file_ = root_ / "Assets" / "10.bin";
};

TEST_F(DiskFaultTest, ReplacesAFileOnceItsSuccessorIsFlushed) {
    for (const auto& [error, stored] : {std::pair(0, true),
                                        {ERROR_NOT_SUPPORTED, true},
                                        {ERROR_INVALID_FUNCTION, true},
                                        {ERROR_IO_DEVICE, false}}) {
        WriteCached("Assets/10.bin", "old");
        DWORD written = 0;
        atFlush = [&](HANDLE file) {
            written = GetFileSize(file, nullptr);
            EXPECT_EQ(ReadCached("Assets/10.bin"), "old");
        };
        flushError = static_cast<DWORD>(error);
        EXPECT_EQ(Store(file_, "newer"), stored) << error;
        EXPECT_EQ(written, 5u);
        EXPECT_EQ(ReadCached("Assets/10.bin"), stored ? "newer" : "old");
        EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin"));
    }
}

TEST_F(DiskFaultTest, AnotherProcessMayStoreTheSameFileFirst) {
    UniqueKernelHandle held;
    atFlush = [&](HANDLE) {
        EXPECT_TRUE(Store(file_, "first"));
        held = Open(file_);
    };
    EXPECT_EQ(Fetch(MediaUrl(L"10.bin")), Pattern(10));
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin"))) << "the file cannot be read";
    EXPECT_THAT(Requests(), testing::SizeIs(1));
    held.Reset();
    EXPECT_EQ(ReadCached("Assets/10.bin"), "first");
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin"));
}

TEST_F(DiskFaultTest, AFullDiskKeepsOnlyCompleteFiles) {
    const char* limit = std::getenv("PIXELFORGE_FILE_LIMIT");
    ASSERT_TRUE(limit) << "run this test through with_service";
    const std::size_t fits = std::stoul(limit);
    EXPECT_TRUE(Fetch(MediaUrl(std::to_wstring(fits) + L".bin")));
    EXPECT_FALSE(Fetch(MediaUrl(std::to_wstring(fits + 1) + L".bin")));
    EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin", "Assets/" + std::to_string(fits) + ".bin"));
}

TEST_F(DiskFaultTest, OneLevelOfFoldersIsRecreated) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(Fetch(MediaUrl(L"10.bin")));
        EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin"));
        std::filesystem::remove_all(root_ / "Assets");
    }
    std::filesystem::create_directories(file_);
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin"))) << "a folder has the file's name";
    std::filesystem::remove_all(root_ / "Assets");
    WriteCached("Assets", "a file");
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
    EXPECT_THAT(CachedFiles(), ElementsAre("Assets"));
    std::filesystem::remove_all(root_);
    EXPECT_FALSE(Fetch(MediaUrl(L"10.bin")));
}

TEST_F(DiskFaultTest, StartingMakesTheFoldersAndRemovesOldTemporaryFiles) {
    using std::chrono::hours;
    std::filesystem::create_directories(root_ / "own" / "Shaders");
    for (const auto& [file, age] : {std::pair("Assets/~0123456789ABCDEF.tmp", hours(25)),
                                    {"Shaders/~00000000FFFFFFFF.tmp", hours(25)},
                                    {"Searches/~00000000FFFFFFFF.tmp", hours(25)},
                                    {"Assets/~0123456789ABCDE0.tmp", hours(23)},
                                    {"Assets/~old.tmp", hours(25)},
                                    {"Assets/picture.tmp", hours(25)},
                                    {"Searches/~0123456789ABCDEG.tmp", hours(25)},
                                    {"own/Shaders/~0123456789ABCDEF.tmp", hours(25)}}) {
        WriteCached(file, "left over");
        std::filesystem::last_write_time(root_ / file, std::filesystem::file_time_type::clock::now() - age);
    }
    compressed.clear();
    CreateCacheFolders((root_ / "own").c_str(), root_.c_str());
    EXPECT_THAT(compressed, ElementsAre("Shaders", "Shaders", "Searches"));
    EXPECT_THAT(CachedFiles(),
                ElementsAre("Assets/picture.tmp", "Assets/~0123456789ABCDE0.tmp", "Assets/~old.tmp",
                            "Searches/~0123456789ABCDEG.tmp", "own/Shaders/~0123456789ABCDEF.tmp"));
    CreateCacheFolders((root_ / "new").c_str(), (root_ / "new" / "cache").c_str());
    for (const char* folder : {"Shaders", "cache/Shaders", "cache/Assets", "cache/Searches"}) {
        EXPECT_TRUE(std::filesystem::is_directory(root_ / "new" / folder)) << folder;
    }
}

TEST_F(DiskFaultTest, ACachedDocumentAbove64MiBIsNotRead) {
    WriteCached("Shaders/red1_0.json", "{}");
    // A mapping enlarges the file beyond this process's limit.
    EXPECT_TRUE(UniqueKernelHandle(
        CreateFileMappingW(Open(root_ / "Shaders" / "red1_0.json", GENERIC_READ | GENERIC_WRITE).Get(),
                           nullptr, PAGE_READWRITE, 0, (64u << 20) + 1, nullptr)));
    EXPECT_FALSE(Fetch(ShaderUrl(L"red1")));
    EXPECT_EQ(reason_, "the document is larger than 64 MiB");
}

}  // namespace
}  // namespace pixelforge::test
