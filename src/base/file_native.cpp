// Whole-file reads for the native build, with paths in UTF-8.
#include <sys/stat.h>

#include <cstdio>
#include <limits>
#include <optional>
#include <string>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"

namespace pixelforge {
namespace {

std::optional<struct stat> StatusOf(const wchar_t* path) {
    struct stat status = {};
    if (!path || stat(ToUtf8(path).c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status;
}

bool ReadExactly(const std::string& path, std::uint8_t* data, std::size_t size) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        return false;
    }
    const bool whole = std::fread(data, 1, size, file) == size;
    std::fclose(file);
    return whole;
}

}  // namespace

HeapBytes ReadWholeFile(const wchar_t* path, std::uint32_t* outSize, const SizeLimit& limit) {
    const auto status = StatusOf(path);
    if (!outSize || !status || !S_ISREG(status->st_mode)) {
        return nullptr;
    }
    if (static_cast<std::uint64_t>(status->st_size) > limit.bytes) {
        throw LoadError(limit.fault);
    }
    if (status->st_size > std::numeric_limits<std::uint32_t>::max()) {
        return nullptr;
    }
    const auto bytes = static_cast<std::uint32_t>(status->st_size);
    HeapBytes block(static_cast<std::uint8_t*>(AllocateHeapBlock(std::size_t{bytes} + kSpareFileBytes)));
    if (!block || !ReadExactly(ToUtf8(path), block.get(), bytes)) {
        return nullptr;
    }
    *outSize = bytes;
    return block;
}

bool IsExistingFile(const wchar_t* path) noexcept {
    const auto status = StatusOf(path);
    return status && !S_ISDIR(status->st_mode);
}

bool IsExistingFolder(const wchar_t* path) noexcept {
    const auto status = StatusOf(path);
    return status && S_ISDIR(status->st_mode);
}

}  // namespace pixelforge
