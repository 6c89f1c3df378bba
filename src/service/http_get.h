// One blocking HTTP GET.
#pragma once

#include <cstdint>

#include "base/heap.h"

namespace pixelforge {

struct InternetSession;

/// Is told the bytes so far, at the start and behind every read; 0 cancels.
using HttpProgress = std::int32_t (*)(std::uint32_t bytesSoFar);

/// Header lines, without the last line end, that go with every request. Empty: none are sent.
extern const wchar_t* extraHeaderText;

struct HttpReply {
    HeapBytes body;  ///< null after a failure, else with at least one zero byte behind its data
    std::uint32_t length = 0;
    std::uint32_t status = 0;       ///< of the last answer, after redirects; 0 when there was none
    std::uint32_t systemError = 0;  ///< why nothing was opened or read; 0 when it is not known
};

/// Fetches a URL whole. A null session is replaced by a private one for this call. Fails when there is
/// no connection or no trusted one, when the transfer ends short of its announced length, when `progress`
/// (which may be null) cancels, and for more than 1 GiB.
HttpReply HttpGetReply(InternetSession* session, const wchar_t* url, HttpProgress progress);

/// The body alone, whatever the status: a server's error page is returned like any other. Null, with a
/// length of 0, after a failure.
HeapBytes HttpGet(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                  HttpProgress progress);

}  // namespace pixelforge
