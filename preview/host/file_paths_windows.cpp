// Path forms, whole-file reads and writes, and the working folder.
#include "preview/host/file_paths.h"

#include <filesystem>
#include <system_error>

#include "base/file.h"
#include "base/win_handles.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";  // of the full path of NUL

[[noreturn]] void Reject(ExitStatus status, const char* action, const std::wstring& path) {
    throw HostError(status, WithLastError(action + ToUtf8(path)));
}

/// Null if it cannot be opened. `ERROR_ALREADY_EXISTS` is the last error of a file that existed.
UniqueKernelHandle OpenOutput(const std::wstring& path, DWORD access, DWORD disposition) {
    return AdoptFileHandle(
        CreateFileW(LongPath(path).c_str(), access, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace

std::string WithLastError(const std::string& text) {
    const std::string message = std::system_category().message(static_cast<int>(GetLastError()));
    return text + " (" + WithoutControls(message.substr(0, message.find_last_not_of("\r\n. ") + 1)) + ")";
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
    const bool share = absolutePath.starts_with(L"\\\\");
    return std::wstring(kLongPrefix) + (share ? L"UNC" + absolutePath.substr(1) : absolutePath);
}

std::wstring FileNameOf(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L"\\/") + 1);
}

std::string ReadInputFile(const std::wstring& absolutePath) {
    std::uint32_t size = 0;
    const HeapBytes bytes = ReadWholeFile(LongPath(absolutePath).c_str(), &size);
    if (!bytes) {
        Reject(ExitStatus::WrongUsage, "cannot read ", absolutePath);
    }
    return {reinterpret_cast<const char*>(bytes.get()), size};
}

void WriteOutputFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes) {
    auto file = OpenOutput(absolutePath, GENERIC_WRITE, CREATE_ALWAYS);
    if (file && WriteAll(file.Get(), bytes)) {
        return;
    }
    const HostError error(ExitStatus::Failed, WithLastError("cannot write " + ToUtf8(absolutePath)));
    if (file) {
        file.Reset();
        DeleteFileW(LongPath(absolutePath).c_str());
    }
    throw error;
}

void AppendToFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes) {
    const auto file = OpenOutput(absolutePath, FILE_APPEND_DATA, OPEN_ALWAYS);
    if (!file || !WriteAll(file.Get(), bytes)) {
        Reject(ExitStatus::Failed, "cannot write ", absolutePath);
    }
}

void RequireWritable(const std::wstring& absolutePath) {
    if (absolutePath.starts_with(kDevicePrefix)) {
        return;
    }
    // A folder that cannot be created makes opening the file fail.
    std::size_t end = 0;
    while ((end = absolutePath.find(L'\\', end + 1)) != absolutePath.npos) {
        CreateDirectoryW(LongPath(absolutePath.substr(0, end)).c_str(), nullptr);
    }
    auto file = OpenOutput(absolutePath, GENERIC_WRITE, OPEN_ALWAYS);
    const bool existed = GetLastError() == ERROR_ALREADY_EXISTS;
    if (!file) {
        Reject(ExitStatus::WrongUsage, "cannot write ", absolutePath);
    }
    file.Reset();
    if (!existed) {
        DeleteFileW(LongPath(absolutePath).c_str());
    }
}

WorkingFolder::WorkingFolder(const std::wstring& filePath) : previous_(std::filesystem::current_path()) {
    entered_ = SetCurrentDirectoryW(FolderOf(filePath).c_str());
}

WorkingFolder::~WorkingFolder() {
    if (entered_) {
        SetCurrentDirectoryW(previous_.c_str());
    }
}

}  // namespace pixelforge::preview
