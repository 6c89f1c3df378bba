// Path forms, whole-file reads and writes, and the working folder.
#include "preview/host/file_paths.h"

#include <algorithm>

#include "base/file.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kShareStart = L"\\\\";
constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";  // of the full path of NUL

/// Bytes per read call, whose count has 32 bits.
constexpr std::size_t kTransferBytes = std::size_t{1} << 24;

constexpr std::int64_t kLargestInput = std::int64_t{1} << 31;

std::string SystemMessage(DWORD error) {
    wchar_t buffer[512];
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD units = FormatMessageW(flags, nullptr, error, 0, buffer, 512, nullptr);
    std::string text = ToUtf8({buffer, units});
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.')) {
        text.pop_back();
    }
    return text.empty() ? "error " + std::to_string(error) : text;
}

bool ReadAll(HANDLE file, std::span<char> bytes) {
    while (!bytes.empty()) {
        const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kTransferBytes));
        DWORD got = 0;
        if (!ReadFile(file, bytes.data(), wanted, &got, nullptr) || got == 0) {
            return false;
        }
        bytes = bytes.subspan(got);
    }
    return true;
}

/// The path itself if it has no separator.
std::wstring ParentOf(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L"\\/"));
}

std::wstring CurrentFolder() {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

/// The 8.3 form of an existing folder, or empty if it has none.
std::wstring ShortFolder(const std::wstring& folder) {
    std::wstring name(32768, L'\0');
    name.resize(GetShortPathNameW(LongPath(folder).c_str(), name.data(), static_cast<DWORD>(name.size())));
    return name.starts_with(kLongPrefix) ? name.substr(kLongPrefix.size()) : name;
}

}  // namespace

std::string WithLastError(const std::string& text) {
    const DWORD error = GetLastError();
    return text + " (" + SystemMessage(error) + ")";
}

std::wstring AbsolutePath(std::string_view path) {
    const std::wstring wide = FromUtf8(path);
    std::wstring full(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? wide : full;
}

std::wstring LongPath(const std::wstring& absolutePath) {
    if (absolutePath.size() < MAX_PATH || absolutePath.starts_with(kLongPrefix)) {
        return absolutePath;
    }
    if (absolutePath.starts_with(kShareStart)) {
        return std::wstring(kLongPrefix) + L"UNC\\" + absolutePath.substr(kShareStart.size());
    }
    return std::wstring(kLongPrefix) + absolutePath;
}

std::wstring FileNameOf(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L"\\/") + 1);
}

std::string ReadInputFile(const std::wstring& absolutePath) {
    const auto file = AdoptFileHandle(CreateFileW(
        LongPath(absolutePath).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    LARGE_INTEGER size = {};
    if (file && GetFileSizeEx(file.Get(), &size)) {
        if (size.QuadPart > kLargestInput) {
            throw HostError(ExitStatus::WrongUsage, ToUtf8(absolutePath) + " is larger than 2 GiB");
        }
        std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
        if (ReadAll(file.Get(), bytes)) {
            return bytes;
        }
    }
    throw HostError(ExitStatus::WrongUsage, WithLastError("cannot read " + ToUtf8(absolutePath)));
}

void WriteOutputFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes) {
    const std::wstring path = LongPath(absolutePath);
    auto file = AdoptFileHandle(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file && WriteAll(file.Get(), bytes)) {
        return;
    }
    const std::string problem = WithLastError("cannot write " + ToUtf8(absolutePath));
    if (file) {
        file.Reset();
        DeleteFileW(path.c_str());
    }
    throw HostError(ExitStatus::Failed, problem);
}

void AppendToFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes) {
    const auto file = AdoptFileHandle(CreateFileW(LongPath(absolutePath).c_str(), FILE_APPEND_DATA, 0,
                                                  nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || !WriteAll(file.Get(), bytes)) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot write " + ToUtf8(absolutePath)));
    }
}

void MakeFolders(const std::wstring& absoluteFolder) {
    const std::wstring folder = LongPath(absoluteFolder);
    if (IsExistingFolder(folder.c_str())) {
        return;
    }
    if (const std::wstring parent = ParentOf(absoluteFolder); parent != absoluteFolder) {
        MakeFolders(parent);
    }
    if (!CreateDirectoryW(folder.c_str(), nullptr) && !IsExistingFolder(folder.c_str())) {
        throw HostError(ExitStatus::WrongUsage,
                        WithLastError("cannot create the folder " + ToUtf8(absoluteFolder)));
    }
}

void RequireWritable(const std::wstring& absolutePath) {
    if (absolutePath.starts_with(kDevicePrefix)) {
        return;
    }
    MakeFolders(ParentOf(absolutePath));
    const std::wstring path = LongPath(absolutePath);
    auto file = AdoptFileHandle(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    const bool existed = GetLastError() == ERROR_ALREADY_EXISTS;
    if (!file) {
        throw HostError(ExitStatus::WrongUsage, WithLastError("cannot write " + ToUtf8(absolutePath)));
    }
    file.Reset();
    if (!existed) {
        DeleteFileW(path.c_str());
    }
}

WorkingFolder::WorkingFolder(const std::wstring& filePath) : previous_(CurrentFolder()) {
    const std::wstring folder = FolderOf(filePath);
    entered_ = SetCurrentDirectoryW(folder.c_str()) || SetCurrentDirectoryW(ShortFolder(folder).c_str());
}

WorkingFolder::~WorkingFolder() {
    if (entered_) {
        SetCurrentDirectoryW(previous_.c_str());
    }
}

}  // namespace pixelforge::preview
