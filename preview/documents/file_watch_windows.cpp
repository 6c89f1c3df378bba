// Polls file times and sizes.
#include "preview/documents/file_watch.h"

#include <windows.h>

#include <utility>

#include "preview/host/file_paths.h"

namespace pixelforge::preview {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(150);

std::uint64_t Combine(DWORD high, DWORD low) {
    return static_cast<std::uint64_t>(high) << 32 | low;
}

}  // namespace

void FileWatch::Watch(std::vector<std::wstring> files) {
    files_ = std::move(files);
    stamps_ = ReadStamps();
    changing_ = false;
    lastPoll_ = std::chrono::steady_clock::now();
}

bool FileWatch::Changed() {
    const auto now = std::chrono::steady_clock::now();
    if (now - lastPoll_ < kInterval) {
        return false;
    }
    lastPoll_ = now;
    std::vector<Stamp> stamps = ReadStamps();
    if (stamps != stamps_) {
        stamps_ = std::move(stamps);
        changing_ = true;
        return false;
    }
    return std::exchange(changing_, false);
}

std::vector<FileWatch::Stamp> FileWatch::ReadStamps() const {
    std::vector<Stamp> stamps;
    for (const std::wstring& file : files_) {
        WIN32_FILE_ATTRIBUTE_DATA attributes = {};
        if (GetFileAttributesExW(LongPath(file).c_str(), GetFileExInfoStandard, &attributes)) {
            stamps.push_back(
                {Combine(attributes.ftLastWriteTime.dwHighDateTime, attributes.ftLastWriteTime.dwLowDateTime),
                 Combine(attributes.nFileSizeHigh, attributes.nFileSizeLow)});
        } else {
            stamps.push_back({});
        }
    }
    return stamps;
}

}  // namespace pixelforge::preview
