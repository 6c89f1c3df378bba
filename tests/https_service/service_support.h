// What the tests against the service share: its addresses and bodies, what it was asked, a cache of their
// own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/internet_session.h"

namespace pixelforge::test {

/// "https://", the host below `subdomain` (which ends in a dot, or is empty), and the path.
std::wstring Url(const std::wstring& path, const std::wstring& subdomain = L"");
std::wstring ShaderUrl(const std::wstring& id);
std::wstring MediaUrl(const std::wstring& name);

/// What the service sends as "SIZE.bin".
std::string Pattern(std::size_t size);

/// As a line of the log holds it.
inline constexpr char kUserAgent[] =
    "\tUser-Agent: Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
    "Chrome/125.0.0.0 Safari/537.36\t";

/// Makes the cache folders in a new temporary folder, which this process's cache root then is.
class ServiceTest : public testing::Test {
protected:
    ServiceTest();
    ~ServiceTest() override;

    /// The body of `FetchWithCache`, or nothing and a reason.
    std::optional<std::string> Fetch(const std::wstring& url);

    /// What the service was asked in this test, oldest first: "HOST PATH\t" and "NAME: VALUE\t" for each
    /// header. The service notes a request before it answers.
    std::vector<std::string> Requests() const;

    /// Paths below the cache root, with forward slashes, sorted; folders are left out.
    std::vector<std::string> CachedFiles() const;
    std::string ReadCached(const std::string& file) const;
    void WriteCached(const std::string& file, const std::string& bytes) const;

    const std::filesystem::path root_;
    std::string reason_;
    HeapRecord<InternetSession> session_ = OpenInternetSession();

private:
    std::size_t firstRequest_;
};

}  // namespace pixelforge::test
