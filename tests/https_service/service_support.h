// Shared by the tests against the service: its URLs and bodies, its request log, and a private cache.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/text.h"
#include "service/http_get.h"
#include "service/service_client.h"
#include "service/service_urls.h"
#include "service/shader_cache.h"
#include "tests/support/temp_file.h"

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
inline std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 % 251);
    }
    return bytes;
}

/// Uses a new temporary folder as this process's cache root.
class ServiceTest : public testing::Test {
protected:
    ServiceTest() {
        EXPECT_NE(log_, "") << "run these tests through with_service";
        CreateCacheFolders(L"", root_.c_str());
    }

    /// The body from `FetchWithCache`, or std::nullopt and `reason_`.
    std::optional<std::string> Fetch(const std::wstring& url) {
        std::uint32_t length = 0;
        reason_.clear();
        const HeapBytes body = FetchWithCache(session_.get(), url.c_str(), &length, reason_);
        EXPECT_EQ(!body, !reason_.empty()) << reason_;
        if (!body) {
            return std::nullopt;
        }
        EXPECT_EQ(body[length], 0);
        return std::string(reinterpret_cast<const char*>(body.get()), length);
    }

    bool Download(const wchar_t* id, const wchar_t* src) {
        return DownloadToCacheFile(session_.get(), id, src, path_, reason_);
    }

    /// This test's requests, logged before the response: "HOST PATH\t", then "NAME: VALUE\t" for each header.
    std::vector<std::string> Requests() const {
        const std::string log = ContentOf(log_).substr(firstRequest_);
        std::vector<std::string> lines;
        for (std::string_view rest = log; !rest.empty();) {
            lines.emplace_back(TakeLine(rest));
        }
        return lines;
    }

    /// Files below the cache root, as relative paths with forward slashes.
    std::set<std::string> CachedFiles() const {
        std::set<std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
            if (entry.is_regular_file()) {
                files.insert(entry.path().lexically_relative(root_).generic_string());
            }
        }
        return files;
    }
    std::string ReadCached(const std::string& file) const { return ContentOf(root_ / file); }
    void WriteCached(const std::string& file, const std::string& bytes) const { folder_.Write(file, bytes); }

    const TempFolder folder_;
    const std::filesystem::path& root_ = folder_.Path();
    std::string reason_;
    wchar_t path_[kPathUnits] = {};
    HeapRecord<InternetSession> session_ = OpenInternetSession();

private:
    const char* const variable_ = std::getenv("PIXELFORGE_SERVICE_LOG");
    const std::string log_ = variable_ ? variable_ : "";
    const std::size_t firstRequest_ = ContentOf(log_).size();
};

}  // namespace pixelforge::test
