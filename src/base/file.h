// Whole-file reads and writes, paths, and which names from documents may be opened.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/heap.h"

namespace pixelforge {

struct SizeLimit;

/// Number of zero bytes that `ReadWholeFile` adds after the data.
inline constexpr std::size_t kSpareFileBytes = 4;

/// Reads a whole existing file (shared for reading, sequential scan). The data is followed by 4 zero bytes,
/// so text is terminated. `outSize` receives the byte count. Null for an empty or null path, a file that
/// cannot be opened, a short read, or a file of 4 GiB or more.
HeapBytes ReadWholeFile(const wchar_t* path, std::uint32_t* outSize);

/// The same, but throws `LoadError` for a file larger than `limit`.
HeapBytes ReadWholeFile(const wchar_t* path, std::uint32_t* outSize, const SizeLimit& limit);

/// True for an existing path that is not a folder.
bool IsExistingFile(const wchar_t* path) noexcept;

/// True for an existing folder.
bool IsExistingFolder(const wchar_t* path) noexcept;

/// Drive and directory of a path, including the last separator. `out` holds `kPathUnits`. False for a null or
/// empty path and for a folder that does not fit.
bool FolderOfPath(const wchar_t* path, wchar_t* out) noexcept;

/// Writes all bytes to an open file (a HANDLE). False if any write fails.
bool WriteAll(void* file, std::span<const std::uint8_t> bytes) noexcept;

/// True for a file name that a local document may use. Refused: the empty name, UNC and device paths
/// ("\\server", "\\?\", "\\.\", also with "/"), reserved device names (CON, NUL, COM1 ... in any component,
/// with or without an extension), a component of more than 255 units or with a trailing dot or space (other
/// than "." and ".."), a colon other than the drive's, control characters, and < > | " ? *.
bool IsOpenableLocalName(std::wstring_view name) noexcept;

/// True for an openable name without folder or drive, which cannot escape the folder it is joined to. An
/// untrusted document may use no other.
bool IsPlainFileName(std::wstring_view name) noexcept;

}  // namespace pixelforge
