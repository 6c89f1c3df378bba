// Temporary files for tests.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "base/text.h"

namespace pixelforge::test {

/// A file with the given bytes, deleted on destruction.
class TempFile {
public:
    explicit TempFile(std::string_view bytes, std::wstring_view suffix = L".tmp") {
        static std::atomic<int> count = 0;
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        const std::wstring name =
            L"/pixelforge-" + std::to_wstring(stamp) + L"-" + std::to_wstring(++count) + std::wstring(suffix);
        widePath_ = std::filesystem::temp_directory_path().wstring() + name;
        const std::string path = Narrow(widePath_, TextEncoding::Utf8).value();
        path_ = std::u8string(path.begin(), path.end());
        std::ofstream(path_, std::ios::binary) << bytes;
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    ~TempFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    const std::wstring& Path() const { return widePath_; }

private:
    std::filesystem::path path_;
    std::wstring widePath_;
};

}  // namespace pixelforge::test
