// Whole-file reads and the two questions that are asked of a path.
#pragma once

#include <cstdint>

#include "base/heap.h"

namespace pixelforge {

/// Reads an existing file whole (shared for reading, sequential scan). The block holds size + 4 bytes,
/// the bytes behind the data are 0, so text needs no copy. `outSize` receives the byte count.
/// Null for an empty or null path, a file that cannot be opened, a short read, or 4 GiB and more.
HeapBytes ReadWholeFile(const wchar_t* path, std::uint32_t* outSize);

/// True for an existing file that is not a folder.
bool IsExistingFile(const wchar_t* path) noexcept;

/// True for an existing folder.
bool IsExistingFolder(const wchar_t* path) noexcept;

}  // namespace pixelforge
