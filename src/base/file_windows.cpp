// Whole-file reads and writes through Windows file calls.
#include <windows.h>

#include <algorithm>
#include <limits>

#include "base/file.h"
#include "base/load_error.h"
#include "base/win_handles.h"

namespace pixelforge {
namespace {

/// Bytes per read or write call, whose counts are 32-bit.
constexpr std::uint32_t kChunk = 64u << 20;

/// Delete sharing lets another process rename a finished cache file over this one during the read.
UniqueKernelHandle OpenDiskFile(const wchar_t* path) noexcept {
    UniqueKernelHandle file =
        AdoptFileHandle(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    // Device names open as well, and reading one may block forever.
    const bool onDisk = file && GetFileType(file.Get()) == FILE_TYPE_DISK;
    return onDisk ? std::move(file) : UniqueKernelHandle();
}

bool ReadExactly(HANDLE file, std::uint8_t* data, std::uint32_t size) noexcept {
    for (std::uint32_t done = 0; done < size;) {
        DWORD got = 0;
        if (!ReadFile(file, data + done, std::min(kChunk, size - done), &got, nullptr) || got == 0) {
            return false;
        }
        done += got;
    }
    return true;
}

DWORD AttributesOf(const wchar_t* path) noexcept {
    return path && *path ? GetFileAttributesW(path) : INVALID_FILE_ATTRIBUTES;
}

}  // namespace

HeapBytes ReadWholeFile(const wchar_t* path, std::uint32_t* outSize, const SizeLimit& limit) {
    if (!path || !*path || !outSize) {
        return nullptr;
    }
    const UniqueKernelHandle file = OpenDiskFile(path);
    // Of the opened file: that of the path may be a link's, or change before the read.
    LARGE_INTEGER size = {};
    if (!file || !GetFileSizeEx(file.Get(), &size) || size.QuadPart < 0) {
        return nullptr;
    }
    if (static_cast<std::uint64_t>(size.QuadPart) > limit.bytes) {
        throw LoadError(limit.fault);
    }
    if (size.QuadPart > std::numeric_limits<std::uint32_t>::max()) {
        return nullptr;
    }
    const auto bytes = static_cast<std::uint32_t>(size.QuadPart);
    HeapBytes block(static_cast<std::uint8_t*>(AllocateHeapBlock(std::size_t{bytes} + kSpareFileBytes)));
    if (!block || !ReadExactly(file.Get(), block.get(), bytes)) {
        return nullptr;
    }
    *outSize = bytes;
    return block;
}

bool IsExistingFile(const wchar_t* path) noexcept {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool IsExistingFolder(const wchar_t* path) noexcept {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool WriteAll(HANDLE file, std::span<const std::uint8_t> bytes) noexcept {
    while (!bytes.empty()) {
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(kChunk, bytes.size()));
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), wanted, &written, nullptr) || written == 0) {
            return false;
        }
        bytes = bytes.subspan(written);
    }
    return true;
}

}  // namespace pixelforge
