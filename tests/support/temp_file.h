// Temporary files and folders for tests.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "base/text.h"

namespace pixelforge::test {

inline std::string ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A path that nobody else uses; what is there is deleted on destruction.
class TempPath {
public:
    TempPath(const TempPath&) = delete;
    TempPath& operator=(const TempPath&) = delete;

protected:
    explicit TempPath(std::wstring_view suffix) {
        static std::atomic<int> count = 0;
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        widePath_ += L"/pixelforge test " + std::to_wstring(stamp) + L"-" + std::to_wstring(++count);
        const std::string path = Narrow(widePath_ += suffix, TextEncoding::Utf8).value();
        path_ = std::filesystem::path(std::u8string(path.begin(), path.end())).lexically_normal();
    }
    ~TempPath() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::wstring widePath_ = std::filesystem::temp_directory_path().wstring();
    std::filesystem::path path_;
};

class TempFile : TempPath {
public:
    explicit TempFile(std::string_view bytes, std::wstring_view suffix = L".tmp") : TempPath(suffix) {
        std::ofstream(path_, std::ios::binary) << bytes;
    }

    const std::wstring& Path() const { return widePath_; }
};

class TempFolder : TempPath {
public:
    TempFolder() : TempPath(L"") { std::filesystem::create_directories(path_); }

    const std::filesystem::path& Path() const { return path_; }

    /// Writes a file and returns its path.
    std::string Write(const std::string& name, std::string_view bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return (path_ / name).string();
    }
};

}  // namespace pixelforge::test
