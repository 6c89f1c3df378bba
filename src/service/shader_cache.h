// The folder tree on disk that keeps everything fetched.
#pragma once

#include <cstdint>
#include <span>

#include "base/text.h"

namespace pixelforge {

/// Creates the module's data folder with its "Shaders", and the cache tree: `cacheRoot`, which becomes the
/// cache root (initially "E:\PixelforgeCache"), with "Shaders" for documents, "Assets" for media files and
/// "Searches". An empty or null path skips its steps; failures are ignored and the result is always true.
/// Call it once at process start, before anything uses the cache.
bool CreateCacheFolders(const wchar_t* dataFolder, const wchar_t* cacheRoot);

/// Joins the cache root and a relative name. False if the path does not fit.
bool FormatCachePath(const wchar_t* relativeName, wchar_t (&path)[kPathUnits]) noexcept;

/// Stores a fetched body atomically, creating the file's folder (one level) if needed. False for an empty
/// body or if the file could not be written.
bool StoreResponse(const wchar_t* path, std::span<const std::uint8_t> body);

}  // namespace pixelforge
