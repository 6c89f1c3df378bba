// Requests to the web service, served from the cache, or fetched and then cached.
#pragma once

#include <cstdint>
#include <string>

#include "base/heap.h"
#include "base/text.h"

namespace pixelforge {

struct InternetSession;

/// The bytes of a service URL, followed by a zero byte. A cached file is returned unchecked, without a
/// request. A fetched body is returned only once it is stored; an empty one, one with a status of 206 or
/// outside 200 to 299, and a shader document that is not usable JSON are neither stored nor returned. Shader
/// documents, cached or fetched, have at most 64 MiB. Null on failure, with one clause of UTF-8 in `reason`.
HeapBytes FetchWithCache(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                         std::string& reason);

/// Brings the media file `src`, or the document of `shaderId` if `src` is null, into the cache and writes its
/// path to `outPath` (`kPathUnits`); an existing local file is used in place. False for null arguments, an
/// empty `src`, a name that is not a plain file name, and a failed or empty download, with one clause of
/// UTF-8 in `reason`. True does not guarantee that the file could be written: check that it exists.
bool DownloadToCacheFile(InternetSession* session, const wchar_t* shaderId, const wchar_t* src,
                         wchar_t* outPath, std::string& reason);

}  // namespace pixelforge
