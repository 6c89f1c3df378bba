// A folder for one test's files.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include <windows.h>

namespace pixelforge::test {

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
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return (path_ / name).string();
    }

private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("pixelforge test " + std::to_string(GetCurrentProcessId()));
};

}  // namespace pixelforge::test
