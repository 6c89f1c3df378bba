// Notices changes of files.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pixelforge::preview {

/// Compares sizes and times a few times a second: editors replace files in too many ways for anything
/// cleverer, and the files are few.
class FileWatch {
public:
    explicit FileWatch(std::vector<std::wstring> files) { Watch(std::move(files)); }

    /// Files need not exist. What they are now counts as known.
    void Watch(std::vector<std::wstring> files);

    /// True once behind a change, when nothing has changed any more for a moment: an editor may write
    /// a file in several steps. Cheap to call at every frame.
    bool Changed();

    /// For a change that could not be read yet: it is reported once more.
    void LookAgain() { changing_ = true; }

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
    std::chrono::steady_clock::time_point lastLook_;
};

}  // namespace pixelforge::preview
