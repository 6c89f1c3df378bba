// Shared by the tests against the service: its URLs and bodies, its request log, and a private cache.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "service/http_get.h"
#include "service/service_urls.h"

namespace pixelforge::test {

/// "https://", the host below `subdomain` (which ends in a dot, or is empty), and the path.
inline std::wstring Url(const std::wstring& path, const std::wstring& subdomain = L"") {
    return L"https://" + subdomain + kServiceHost + path;
}
inline std::wstring ShaderUrl(const std::wstring& id) {
    return Url(L"/api/v1/shaders/" + id + L"?key=fz3kq9");
}
inline std::wstring MediaUrl(const std::wstring& name) {
    return Url(L"/media/a/" + name);
}

/// The body of the service's "SIZE.bin".
std::string Pattern(std::size_t size);

/// A function of the system, for a test that replaces the program's import of it.
template <class Function>
Function SystemCall(const char* module, const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(module), name)));
}

/// As logged by the service.
inline constexpr char kUserAgent[] =
    "\tUser-Agent: Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
    "Chrome/125.0.0.0 Safari/537.36\t";

/// Uses a new temporary folder as this process's cache root.
class ServiceTest : public testing::Test {
protected:
    ServiceTest();
    ~ServiceTest() override;

    /// The body from `FetchWithCache`, or std::nullopt and `reason_`.
    std::optional<std::string> Fetch(const std::wstring& url);

    /// The requests of this test, oldest first: "HOST PATH\t", then "NAME: VALUE\t" for each header. The
    /// service logs a request before it responds.
    std::vector<std::string> Requests() const;

    /// Files below the cache root as sorted relative paths with forward slashes.
    std::vector<std::string> CachedFiles() const;
    std::string ReadCached(const std::string& file) const;
    void WriteCached(const std::string& file, const std::string& bytes) const;

    const std::filesystem::path root_;
    std::string reason_;
    HeapRecord<InternetSession> session_ = OpenInternetSession();

private:
    const std::streamoff firstRequest_;
};

}  // namespace pixelforge::test
