// Whole-file reads and writes, what a path is, and which names from documents may be opened.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

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

/// Writes all bytes to an open file (a HANDLE). False when the system refuses any of them.
bool WriteAll(void* file, std::span<const std::uint8_t> bytes) noexcept;

/// True when a name may be opened for a document that the user chose from a local disk. Refused: the
/// empty name, UNC and device paths ("\\server", "\\?\", "\\.\", also written with "/"), reserved
/// device names (CON, NUL, COM1 ... in any component, with or without an extension), a component that
/// ends in a dot or a blank (other than "." and "..") or has more than 255 units, a colon anywhere but
/// behind a drive letter, and control characters or any of < > | " ? *.
bool IsOpenableLocalName(std::wstring_view name) noexcept;

/// True for an openable name without any folder or drive, so that it stays in the folder that it is put
/// behind: what a document of a stranger may name.
bool IsPlainFileName(std::wstring_view name) noexcept;

}  // namespace pixelforge
