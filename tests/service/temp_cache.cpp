// Making, reading and removing a test's cache.
#include "tests/service/temp_cache.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "base/random.h"
#include "library/shader_cache.h"

namespace pixelforge::test {

TempCache::TempCache()
    : root_(std::filesystem::temp_directory_path() / ("pixelforge-cache-" + std::to_string(SystemRandom()))) {
    CreateCacheFolders(L"", root_.c_str());
}

TempCache::~TempCache() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

std::vector<std::string> TempCache::Files() const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().lexically_relative(root_).generic_string());
        }
    }
    std::ranges::sort(files);
    return files;
}

std::string TempCache::Read(const std::string& file) const {
    std::ifstream stream(root_ / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void TempCache::Write(const std::string& file, const std::string& bytes) const {
    std::ofstream(root_ / file, std::ios::binary) << bytes;
}

}  // namespace pixelforge::test
