// The module's Internet session, and one blocking HTTP GET.
#pragma once

#include <cstdint>
#include <string>

#include "base/heap.h"
#include "base/unique_handle.h"
#include "service/download_buffer.h"

namespace pixelforge {

struct InternetHandleTraits {
    using Handle = void*;
    static void Close(void* handle) noexcept;
};

/// Owner of a WinINet handle (an HINTERNET).
using UniqueInternetHandle = UniqueHandle<InternetHandleTraits>;

struct InternetSession {
    UniqueInternetHandle handle;
};

/// Opens a session with the module's user agent that decodes compressed responses. The first call sets up a
/// single-threaded COM apartment on the calling thread; if that fails, this and every later call returns
/// null.
HeapRecord<InternetSession> OpenInternetSession();

/// Receives the byte count so far, first 0 and then after every read; returns 0 to cancel.
using HttpProgress = std::int32_t (*)(std::uint32_t bytesSoFar);

/// Extra header lines for every request, without the final line end; empty for none.
extern const wchar_t* extraHeaderText;

struct HttpReply {
    HeapBytes body;  ///< at least one zero byte follows the data
    std::uint32_t length = 0;
    std::uint32_t status = 0;  ///< of the final response, after redirects; 0 if there was none
};

/// Why a response with this status has no whole body to use; empty for 200 to 299 other than 206.
std::string FaultOfStatus(std::uint32_t status);

/// Fetches a URL. A null session is replaced by a private one for this call. Throws `LoadError` if there is
/// no connection, the certificate is not trusted, there are more than 10 redirects or one to a scheme other
/// than https, the transfer ends before its announced length or averages below 1 KiB/s after a minute, the
/// body exceeds `limit`, or `progress` (may be null) cancels.
HttpReply HttpGetReply(InternetSession* session, const wchar_t* url, HttpProgress progress,
                       const SizeLimit& limit = kResponseLimit);

/// Only the body, whatever the status: a server's error page counts too. Null, with a length of 0, on
/// failure.
HeapBytes HttpGet(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                  HttpProgress progress);

}  // namespace pixelforge
