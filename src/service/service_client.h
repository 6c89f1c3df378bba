// Requests to the web service: from the cache when the file is there, else from the network into it.
#pragma once

#include <cstdint>
#include <string>

#include "base/heap.h"
#include "base/text.h"

namespace pixelforge {

struct InternetSession;

/// The bytes behind a service address, terminated by a zero byte, or null. A file in the cache is
/// returned as it stands, without a request; one that cannot be read fails. What is fetched counts only
/// when it could be stored; an answer with a status outside 200 to 299, or a shader document that is no
/// usable JSON, is neither stored nor returned. `reason` then receives one clause of UTF-8.
HeapBytes FetchWithCache(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                         std::string& reason);

/// Makes sure that the file that a media path names, or the document of `shaderId` when `src` is null, is
/// in the cache, and writes its path to `outPath` (`kPathUnits`); a path of an existing local file is
/// taken over as it is. False for null arguments, an empty `src`, a name that is no plain file name, and a
/// failed download; `reason` then receives one clause of UTF-8. True does not say that the file could be
/// written: test whether it exists.
bool DownloadToCacheFile(InternetSession* session, const wchar_t* shaderId, const wchar_t* src,
                         wchar_t* outPath, std::string& reason);

}  // namespace pixelforge
