// The native build has no network and no cache: nothing can be fetched.
#include "service/service_client.h"

namespace pixelforge {

HeapBytes FetchWithCache(InternetSession*, const wchar_t*, std::uint32_t* outLength, std::string& reason) {
    *outLength = 0;
    reason = "not an existing file, and nothing can be fetched here";
    return nullptr;
}

bool DownloadToCacheFile(InternetSession*, const wchar_t*, const wchar_t*, wchar_t*, std::string& reason) {
    reason = "nothing can be fetched here";
    return false;
}

}  // namespace pixelforge
