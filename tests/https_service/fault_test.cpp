// One GET from a service, and files of the cache, while the service, the clock or the disk misbehaves.
#include <gmock/gmock.h>

#include <windows.h>

#include <objbase.h>
#include <wininet.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>
#include <tuple>
#include <vector>

#include "base/load_error.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "tests/https_service/service_support.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The system's function in place of which the program imports `replacement`.
template <class Function>
Function SystemCall(const char* dll, const char* name, Function /*replacement*/) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(dll), name)));
}

std::vector<DWORD> requestFlags;
std::set<HINTERNET> openHandles;  ///< requests and their sessions

HINTERNET WINAPI OpenUrl(HINTERNET internet, const wchar_t* url, const wchar_t* headers, DWORD length,
                         DWORD flags, DWORD_PTR context) {
    requestFlags.push_back(flags);
    HINTERNET const request =
        SystemCall("wininet", "InternetOpenUrlW", OpenUrl)(internet, url, headers, length, flags, context);
    openHandles.insert({internet, request});
    openHandles.erase(nullptr);  // for a failure
    return request;
}

BOOL WINAPI Close(HINTERNET handle) {
    openHandles.erase(handle);
    return SystemCall("wininet", "InternetCloseHandle", Close)(handle);
}

/// Results of the next calls, from the last to the first; then the system's.
std::vector<ULONGLONG> ticks;

ULONGLONG WINAPI TickCount() {
    if (ticks.empty()) {
        return SystemCall("kernel32", "GetTickCount64", TickCount)();
    }
    const ULONGLONG tick = ticks.back();
    ticks.pop_back();
    return tick;
}

std::function<void(HANDLE)> atFlush = [](HANDLE) {};
DWORD flushError = 0;
std::vector<std::filesystem::path> compressed;

BOOL WINAPI Flush(HANDLE file) {
    std::exchange(atFlush, [](HANDLE) {})(file);
    SetLastError(flushError);
    return flushError == 0 && SystemCall("kernel32", "FlushFileBuffers", Flush)(file);
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

// The program's imports of these functions.
extern "C" {
decltype(&DeviceIoControl) __imp_DeviceIoControl = Control;
decltype(&FlushFileBuffers) __imp_FlushFileBuffers = Flush;
decltype(&GetTickCount64) __imp_GetTickCount64 = TickCount;
decltype(&InternetCloseHandle) __imp_InternetCloseHandle = Close;
decltype(&InternetOpenUrlW) __imp_InternetOpenUrlW = OpenUrl;
}

namespace {

// The first session of a process determines the apartment: ctest runs each of these in its own process.
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

using HttpGetTest = ServiceTest;

/// Not from the system's cache, nor into it; without cookies; redirects one by one, and without a login.
TEST_F(HttpGetTest, BypassesCacheCookiesAndRedirectsAndClosesItsHandles) {
    requestFlags.clear();
    openHandles.clear();
    for (const std::wstring& url :
         {MediaUrl(L"hop-1.bin"), std::wstring(L"http://127.0.0.1:1/"), std::wstring(L"ftps://127.0.0.1:1/"),
          MediaUrl(L"cut-9.bin"), std::wstring(L"none")}) {
        FailureOf([&] { HttpGetReply(nullptr, url.c_str(), nullptr); });
        EXPECT_TRUE(openHandles.empty()) << testing::PrintToString(url);
    }
    EXPECT_THAT(requestFlags,
                ElementsAre(0x84A80000, 0x84AC0000, 0x84280000, 0x84A80000, 0x84A80000, 0x84280000));
}

TEST_F(HttpGetTest, ReturnsEveryCompleteBodyWithItsStatus) {
    const std::wstring tenHops = L"hop-hop-hop-hop-hop-hop-hop-hop-hop-hop-10.bin";
    const std::tuple<std::wstring, std::uint32_t, std::size_t> cases[] = {
        {L"1.bin", 200, 1},           {L"nolength-4096.bin", 200, 4096},
        {L"empty-9.bin", 200, 0},     {L"gzip-100000.bin", 200, 100000},
        {L"gzip-3.bin", 200, 3},      {L"redirect-5000.bin", 200, 5000},
        {tenHops, 200, 10},           {L"chunked-10000000.bin", 200, 10'000'000},
        {L"404-5000.bin", 404, 5000}, {L"nolength-10000000.bin", 200, 10'000'000}};
    for (const auto& [name, status, size] : cases) {
        SCOPED_TRACE(testing::PrintToString(name));
        const HttpReply got = HttpGetReply(session_.get(), MediaUrl(name).c_str(), nullptr);
        EXPECT_EQ(got.status, status);
        EXPECT_TRUE(std::string(reinterpret_cast<const char*>(got.body.get()), got.length) == Pattern(size));
        EXPECT_EQ(got.body[got.length], 0);
    }
}

TEST_F(HttpGetTest, SendsTheUserAgentAndExtraHeaders) {
    EXPECT_TRUE(HttpGetReply(nullptr, MediaUrl(L"2.bin").c_str(), nullptr).body) << "with a private session";
    extraHeaderText = L"X-Extra: 17";
    HttpGetReply(session_.get(), MediaUrl(L"1.bin").c_str(), nullptr);
    extraHeaderText = L"";
    const std::string agent =
        "\tUser-Agent: Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
        "Chrome/125.0.0.0 Safari/537.36\t";
    EXPECT_THAT(Requests(), ElementsAre(AllOf(HasSubstr(agent), Not(HasSubstr("\tReferer:")),
                                              Not(HasSubstr("\tX-Extra:"))),
                                        AllOf(HasSubstr(agent), HasSubstr("\tX-Extra: 17\t"))));
}

TEST_F(HttpGetTest, ReportsProgressAndCancels) {
    static std::vector<std::uint32_t> progress;
    const std::wstring url = MediaUrl(L"9000.bin");
    std::uint32_t length = 99;
    EXPECT_TRUE(HttpGet(session_.get(), url.c_str(), &length, [](std::uint32_t bytes) {
        progress.push_back(bytes);
        return 1;
    }));
    ASSERT_GE(progress.size(), 2u);
    EXPECT_EQ(progress.front(), 0u);
    EXPECT_EQ(progress.back(), 9000u);
    EXPECT_FALSE(HttpGet(session_.get(), url.c_str(), &length, [](auto n) { return n == 0 ? 1 : 0; }));
    EXPECT_EQ(length, 0u);
    EXPECT_FALSE(HttpGet(session_.get(), nullptr, &length, nullptr));
}

TEST_F(HttpGetTest, ABodyOfFewBytesFailsAfterAMinute) {
    for (const auto& [ms, why] : {std::pair(60'000ULL, ""), {60'001ULL, "the service sends too slowly"}}) {
        ticks = {ms, 0};
        EXPECT_EQ(FailureOf([&] { HttpGetReply(session_.get(), MediaUrl(L"1.bin").c_str(), nullptr); }), why);
        EXPECT_TRUE(ticks.empty());
    }
}

class DiskFaultTest : public ServiceTest {
protected:
    static UniqueKernelHandle Open(const std::filesystem::path& path, DWORD access = GENERIC_READ) {
        return AdoptFileHandle(
            CreateFileW(path.c_str(), access, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    const std::filesystem::path file_ = root_ / "Assets" / "10.bin";
};

TEST_F(DiskFaultTest, ReplacesAFileOnceItsSuccessorIsFlushed) {
    for (const int error : {ERROR_IO_DEVICE, ERROR_NOT_SUPPORTED, ERROR_INVALID_FUNCTION, ERROR_SUCCESS}) {
        const bool stored = error != ERROR_IO_DEVICE;
        WriteCached("Assets/10.bin", "old");
        DWORD written = 0;
        atFlush = [&](HANDLE file) {
            written = GetFileSize(file, nullptr);
            EXPECT_EQ(ReadCached("Assets/10.bin"), "old");
        };
        flushError = static_cast<DWORD>(error);
        EXPECT_EQ(StoreResponse(file_.c_str(), BytesOf("newer")), stored) << error;
        EXPECT_EQ(written, 5u);
        EXPECT_EQ(ReadCached("Assets/10.bin"), stored ? "newer" : "old");
        EXPECT_THAT(CachedFiles(), ElementsAre("Assets/10.bin"));
    }
}

TEST_F(DiskFaultTest, AnotherProcessMayStoreTheSameFileFirst) {
    UniqueKernelHandle held;
    atFlush = [&](HANDLE) {
        EXPECT_TRUE(StoreResponse(file_.c_str(), BytesOf("first")));
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
    const std::size_t fits = std::stoul(std::getenv("PIXELFORGE_FILE_LIMIT"));
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

TEST_F(DiskFaultTest, StartingRemovesOldTemporaryFiles) {
    std::filesystem::create_directories(root_ / "own" / "Shaders");
    for (const std::string file :
         {"Assets/~0123456789ABCDEF.tmp", "Shaders/~00000000FFFFFFFF.tmp", "Searches/~00000000FFFFFFFF.tmp",
          "Assets/~0123456789ABCDE0.tmp", "Assets/~old.tmp", "Assets/picture.tmp",
          "Searches/~0123456789ABCDEG.tmp", "own/Shaders/~0123456789ABCDEF.tmp"}) {
        WriteCached(file, "left over");
        const std::chrono::hours age(file.ends_with("E0.tmp") ? 23 : 25);
        std::filesystem::last_write_time(root_ / file, std::filesystem::file_time_type::clock::now() - age);
    }
    compressed.clear();
    CreateCacheFolders((root_ / "own").c_str(), root_.c_str());
    EXPECT_THAT(compressed, ElementsAre("Shaders", "Shaders", "Searches"));
    EXPECT_THAT(CachedFiles(),
                ElementsAre("Assets/picture.tmp", "Assets/~0123456789ABCDE0.tmp", "Assets/~old.tmp",
                            "Searches/~0123456789ABCDEG.tmp", "own/Shaders/~0123456789ABCDEF.tmp"));
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
