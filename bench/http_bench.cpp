// `HttpGet` of a 10 MB body against a bare WinINet loop that reads into one block of the right size. Needs
// the tests' HTTPS service: see README.md here.
#include <windows.h>

#include <wininet.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/paired_runner.h"
#include "service/http_get.h"
#include "service/service_urls.h"

namespace pixelforge::bench {
namespace {

constexpr std::size_t kBodyBytes = 10'000'000;
constexpr double kLimit = 1.1;

void ReadBare(HINTERNET internet, const std::wstring& url) {
    const UniqueInternetHandle request(
        InternetOpenUrlW(internet, url.c_str(), nullptr, 0,
                         INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_SECURE, 0));
    std::vector<std::uint8_t> body(kBodyBytes + 1);
    std::size_t count = 0;
    DWORD bytesRead = 1;
    while (bytesRead != 0) {
        if (!InternetReadFile(request.Get(), body.data() + count, static_cast<DWORD>(body.size() - count),
                              &bytesRead)) {
            throw std::runtime_error("InternetReadFile failed");
        }
        count += bytesRead;
    }
    if (count != kBodyBytes) {
        throw std::runtime_error("the bare loop did not read the whole body");
    }
}

void ReadOurs(InternetSession* session, const std::wstring& url) {
    std::uint32_t length = 0;
    if (!HttpGet(session, url.c_str(), &length, nullptr) || length != kBodyBytes) {
        throw std::runtime_error("HttpGet failed");
    }
}

void CompareAll(int rounds, Report& report) {
    const auto session = OpenInternetSession();
    const std::wstring url =
        std::wstring(L"https://") + kServiceHost + L"/media/a/" + std::to_wstring(kBodyBytes) + L".bin";
    report.Add(Compare({"HttpGet 10 MB", [&] { ReadOurs(session.get(), url); }},
                       {"bare WinINet loop", [&] { ReadBare(session->handle.Get(), url); }}, rounds, kLimit));
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 25, CompareAll);
}
