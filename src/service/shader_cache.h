// The cache: the folder tree on disk that keeps everything fetched, and the names of its files.
#pragma once

#include <cstdint>
#include <span>

#include "base/text.h"

namespace pixelforge {

/// Creates the module's data folder with a "Shaders" subfolder, and `cacheRoot` with "Shaders" for documents,
/// "Assets" for media files and "Searches". `cacheRoot` replaces the initial cache root,
/// "E:\PixelforgeCache". Removes temporary files of the cache that are older than a day from the cache's
/// three subfolders. An empty or null path skips its steps; failures are ignored and the result is always
/// true. Call it once at process start, before anything uses the cache.
bool CreateCacheFolders(const wchar_t* dataFolder, const wchar_t* cacheRoot);

/// The identifier in lower case, "_", and a hexadecimal mask of its capitals (bit i for character i): the
/// service's identifiers are case-sensitive, file names are not. `out` holds `kPathUnits`. False for null
/// arguments and for an identifier that is empty or longer than 20 characters.
bool CachedNameForShaderId(const wchar_t* id, wchar_t* out);

/// Base 32 (A to Z, 2 to 7) of the low 8 bits of each character; the last group of 5 bytes is padded with
/// zero bytes and written in full. `out` holds `kPathUnits`. False for null arguments and for texts longer
/// than 160 characters: their names would exceed `kPathUnits`.
bool EncodeQueryName(const wchar_t* text, wchar_t* out);

/// Joins the cache root and a relative name. False if the path does not fit.
bool FormatCachePath(const wchar_t* relativeName, wchar_t (&path)[kPathUnits]) noexcept;

/// Stores a fetched body atomically, creating the file's folder (one level) if needed. False for an empty
/// body or if the file could not be written.
bool StoreResponse(const wchar_t* path, std::span<const std::uint8_t> body);

}  // namespace pixelforge
