// A cache of a test's own.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace pixelforge::test {

/// Makes the cache folders in a new temporary folder, which this process's cache root then is; removes
/// them at the end.
class TempCache {
public:
    TempCache();
    ~TempCache();
    TempCache(const TempCache&) = delete;
    TempCache& operator=(const TempCache&) = delete;

    const std::filesystem::path& Root() const noexcept { return root_; }

    /// Paths below the root, with forward slashes, sorted; folders are left out.
    std::vector<std::string> Files() const;

    std::string Read(const std::string& file) const;
    void Write(const std::string& file, const std::string& bytes) const;

private:
    std::filesystem::path root_;
};

}  // namespace pixelforge::test
