// The fetcher's platform-free face.
#include "library/http_get.h"

#include <utility>

namespace pixelforge {

const wchar_t* extraHeaderText = L"";

HeapBytes HttpGet(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                  HttpProgress progress) {
    HttpReply reply = HttpGetReply(session, url, progress);
    *outLength = reply.length;
    return std::move(reply.body);
}

}  // namespace pixelforge
