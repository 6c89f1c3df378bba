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

/// Deleted on destruction, with all that it contains.
class TempFolder {
public:
    TempFolder() { std::filesystem::create_directories(path_); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& Path() const { return path_; }

    /// Writes a file and returns its path.
    std::string Write(const std::string& name, std::string_view bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return (path_ / name).string();
    }

private:
    static inline std::atomic<int> count_ = 0;

    const std::string id_ =
        "pixelforge test " + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    const std::filesystem::path path_ =
        (std::filesystem::temp_directory_path() / (id_ + "-" + std::to_string(++count_))).lexically_normal();
};

/// In a folder of its own.
class TempFile : TempFolder {
public:
    explicit TempFile(std::string_view bytes, std::wstring_view suffix = L".tmp")
        : path_((TempFolder::Path() / "file").wstring().append(suffix)) {
        const std::string u8 = Narrow(path_, TextEncoding::Utf8).value();
        std::ofstream(std::filesystem::path(std::u8string(u8.begin(), u8.end())), std::ios::binary) << bytes;
    }

    const std::wstring& Path() const { return path_; }

private:
    const std::wstring path_;
};

}  // namespace pixelforge::test
