// Native stand-ins: with neither network nor cache, every fetch fails.
#include "service/http_get.h"
#include "service/service_client.h"

namespace pixelforge {

void InternetHandleTraits::Close(void*) noexcept {}

HeapBytes FetchWithCache(InternetSession*, const wchar_t*, std::uint32_t* outLength, std::string& reason) {
    *outLength = 0;
    reason = "this build cannot fetch";
    return nullptr;
}

bool DownloadToCacheFile(InternetSession*, const wchar_t*, const wchar_t*, wchar_t*, std::string& reason) {
    reason = "this build cannot fetch";
    return false;
}

}  // namespace pixelforge
