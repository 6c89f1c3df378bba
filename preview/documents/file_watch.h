// Detects changes of files.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pixelforge::preview {

/// Polls sizes and times a few times a second. Polling copes with every way in which editors replace files,
/// and there are few files.
class FileWatch {
public:
    explicit FileWatch(std::vector<std::wstring> files) { Watch(std::move(files)); }

    /// Replaces the list; files need not exist. Their present state is the baseline.
    void Watch(std::vector<std::wstring> files);

    /// True once per change, one interval after the last modification, because editors may write a file in
    /// several steps. Cheap enough to call every frame.
    bool Changed();

    /// Reports the last change once more, for a file that could not be read yet.
    void ReportAgain() { changing_ = true; }

private:
    struct Stamp {
        std::uint64_t time = 0;
        std::uint64_t size = 0;
        bool operator==(const Stamp&) const = default;
    };
    std::vector<Stamp> ReadStamps() const;

    std::vector<std::wstring> files_;
    std::vector<Stamp> stamps_;
    bool changing_ = false;
    std::chrono::steady_clock::time_point lastPoll_;
};

}  // namespace pixelforge::preview
