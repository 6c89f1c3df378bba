// The folder tree on disk that keeps everything that was ever fetched.
#pragma once

#include <cstdint>
#include <span>

#include "base/text.h"

namespace pixelforge {

/// Where the tree begins: "E:\PixelforgeCache" until `CreateCacheFolders` sets it. Below it lie "Shaders"
/// (documents), "Assets" (media files) and "Searches".
const wchar_t* CacheRoot() noexcept;

/// Makes the module's data folder with its "Shaders", and the cache tree under `cacheRoot`, which becomes
/// the cache root. An empty or null path skips its steps; no failure stops the rest, and the result is
/// always true. For the process's start: nothing may read the cache meanwhile.
bool CreateCacheFolders(const wchar_t* dataFolder, const wchar_t* cacheRoot);

/// Joins the cache root and a relative name; false when the path does not fit.
bool FormatCachePath(const wchar_t* relativeName, wchar_t (&path)[kPathUnits]) noexcept;

/// Puts a fetched body into the cache, whole or not at all. The file's folder is made when only that one
/// is missing. False for an empty body or when the file could not be written.
bool StoreResponse(const wchar_t* path, std::span<const std::uint8_t> body);

}  // namespace pixelforge
