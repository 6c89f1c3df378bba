// Creates the cache tree and stores files in it.
#include "service/shader_cache.h"

#include <windows.h>

#include <winioctl.h>

#include <algorithm>
#include <string_view>

#include "base/file.h"
#include "base/random.h"
#include "base/win_handles.h"

namespace pixelforge {
namespace {

wchar_t cacheRootPath[kPathUnits] = L"E:\\PixelforgeCache";

enum class Compression {
    Off,
    On,
};

enum class LeftOvers {
    Keep,
    Remove,
};

/// Creates one folder, whose parent must exist. True if the folder exists afterwards, even if another process
/// created it.
bool EnsureFolder(const wchar_t* path) {
    return IsExistingFolder(path) || CreateDirectoryW(path, nullptr) || IsExistingFolder(path);
}

/// Marks a folder compressed on file systems that support it.
void CompressFolder(const wchar_t* path) noexcept {
    const UniqueKernelHandle folder =
        AdoptFileHandle(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (folder) {
        USHORT format = COMPRESSION_FORMAT_DEFAULT;
        DWORD returned = 0;
        DeviceIoControl(folder.Get(), FSCTL_SET_COMPRESSION, &format, sizeof(format), nullptr, 0, &returned,
                        nullptr);
    }
}

/// Enough for any transfer: a younger file may belong to another process.
constexpr std::uint64_t kLeftOverAge100ns = std::uint64_t{24} * 3600 * 10'000'000;

/// "~", 16 hexadecimal digits and ".tmp".
bool IsTemporaryName(std::wstring_view name) noexcept {
    const auto isDigit = [](wchar_t c) { return (c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'F'); };
    return name.size() == 21 && name.starts_with(L'~') && name.ends_with(L".tmp") &&
           std::ranges::all_of(name.substr(1, 16), isDigit);
}

struct FileSearchTraits {
    using Handle = HANDLE;
    static void Close(HANDLE search) noexcept { FindClose(search); }
};

std::uint64_t In100ns(const FILETIME& time) noexcept {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// Checks the name again: the system's search also matches short names.
bool IsLeftOver(const WIN32_FIND_DATAW& file) noexcept {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return IsTemporaryName(file.cFileName) &&
           In100ns(file.ftLastWriteTime) + kLeftOverAge100ns < In100ns(now);
}

/// Removes the temporary files of processes that ended while writing.
void RemoveLeftOvers(const wchar_t* folder) noexcept {
    wchar_t path[kPathUnits];
    if (FormatBounded(path, kPathUnits, L"%s\\~*.tmp", folder) != kFormatComplete) {
        return;
    }
    WIN32_FIND_DATAW file;
    const HANDLE first = FindFirstFileW(path, &file);
    const UniqueHandle<FileSearchTraits> search(first == INVALID_HANDLE_VALUE ? nullptr : first);
    for (bool found = static_cast<bool>(search); found; found = FindNextFileW(search.Get(), &file)) {
        if (IsLeftOver(file) &&
            FormatBounded(path, kPathUnits, L"%s\\%s", folder, file.cFileName) == kFormatComplete) {
            DeleteFileW(path);
        }
    }
}

void MakeSubfolder(const wchar_t* parent, const wchar_t* name, Compression compression, LeftOvers leftOvers) {
    wchar_t path[kPathUnits];
    if (FormatBounded(path, kPathUnits, L"%s\\%s", parent, name) != kFormatComplete || !EnsureFolder(path)) {
        return;
    }
    if (leftOvers == LeftOvers::Remove) {
        RemoveLeftOvers(path);
    }
    if (compression == Compression::On) {
        CompressFolder(path);
    }
}

/// Flushes, so that the later rename cannot reach the disk before the bytes do.
bool WriteNewFile(const wchar_t* path, std::span<const std::uint8_t> bytes) noexcept {
    const UniqueKernelHandle file = AdoptFileHandle(
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || !WriteAll(file.Get(), bytes)) {
        return false;
    }
    // Some drives do not support flushing; any other failure may have lost bytes.
    return FlushFileBuffers(file.Get()) || GetLastError() == ERROR_INVALID_FUNCTION ||
           GetLastError() == ERROR_NOT_SUPPORTED;
}

/// Writes a temporary file in `folder` (which ends in a separator) and renames it to `path`, in the same
/// folder.
bool WriteFileAtomically(const wchar_t* folder, const wchar_t* path, std::span<const std::uint8_t> bytes) {
    wchar_t temporary[kPathUnits];
    if (FormatBounded(temporary, kPathUnits, L"%s~%08X%08X.tmp", folder, SystemRandom(), SystemRandom()) !=
        kFormatComplete) {
        return false;
    }
    if (WriteNewFile(temporary, bytes) && MoveFileExW(temporary, path, MOVEFILE_REPLACE_EXISTING)) {
        return true;
    }
    DeleteFileW(temporary);
    return false;
}

}  // namespace

bool CreateCacheFolders(const wchar_t* dataFolder, const wchar_t* cacheRoot) {
    if (dataFolder && *dataFolder) {
        EnsureFolder(dataFolder);
        // The user's own folder.
        MakeSubfolder(dataFolder, L"Shaders", Compression::On, LeftOvers::Keep);
    }
    if (cacheRoot && *cacheRoot) {
        CopyCut(cacheRootPath, cacheRoot);
        EnsureFolder(cacheRootPath);
        MakeSubfolder(cacheRootPath, L"Shaders", Compression::On, LeftOvers::Remove);
        // Media files are already compressed.
        MakeSubfolder(cacheRootPath, L"Assets", Compression::Off, LeftOvers::Remove);
        MakeSubfolder(cacheRootPath, L"Searches", Compression::On, LeftOvers::Remove);
    }
    return true;
}

bool FormatCachePath(const wchar_t* relativeName, wchar_t (&path)[kPathUnits]) noexcept {
    return FormatBounded(path, kPathUnits, L"%s\\%s", cacheRootPath, relativeName) == kFormatComplete;
}

bool StoreResponse(const wchar_t* path, std::span<const std::uint8_t> body) {
    wchar_t folder[kPathUnits];
    return !body.empty() && FolderOfPath(path, folder) && EnsureFolder(folder) &&
           WriteFileAtomically(folder, path, body);
}

}  // namespace pixelforge
