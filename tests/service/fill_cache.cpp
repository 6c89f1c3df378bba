// The fetches that several threads and processes make.
#include "tests/service/fill_cache.h"

#include "library/internet_session.h"
#include "library/service_client.h"
#include "tests/service/service_text.h"

namespace pixelforge::test {

bool FillCache() {
    const auto session = OpenInternetSession();
    for (int i = 0; i < kSharedFiles; ++i) {
        const std::wstring url = MediaUrl(std::to_wstring(20000 + i) + L".bin");
        std::uint32_t length = 0;
        std::string reason;
        const HeapBytes body = FetchWithCache(session.get(), url.c_str(), &length, reason);
        if (!body || std::string(reinterpret_cast<const char*>(body.get()), length) != Pattern(length)) {
            return false;
        }
    }
    return true;
}

}  // namespace pixelforge::test
