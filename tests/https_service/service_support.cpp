// Reads the service's log and manages the cache of a test.
#include "tests/https_service/service_support.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "base/random.h"
#include "service/service_client.h"
#include "service/shader_cache.h"

namespace pixelforge::test {
namespace {

std::ifstream OpenLog() {
    const char* path = std::getenv("PIXELFORGE_SERVICE_LOG");
    return std::ifstream(path ? path : "", std::ios::binary | std::ios::ate);
}

}  // namespace
std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 % 251);
    }
    return bytes;
}

ServiceTest::ServiceTest()
    : root_(std::filesystem::temp_directory_path() / ("pixelforge-cache-" + std::to_string(SystemRandom()))),
      firstRequest_(OpenLog().tellg()) {
    EXPECT_GE(firstRequest_, 0) << "run these tests through with_service";
    CreateCacheFolders(L"", root_.c_str());
}

ServiceTest::~ServiceTest() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

std::optional<std::string> ServiceTest::Fetch(const std::wstring& url) {
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

std::vector<std::string> ServiceTest::Requests() const {
    std::ifstream log = OpenLog();
    log.seekg(firstRequest_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> ServiceTest::CachedFiles() const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().lexically_relative(root_).generic_string());
        }
    }
    std::ranges::sort(files);
    return files;
}

std::string ServiceTest::ReadCached(const std::string& file) const {
    std::ifstream stream(root_ / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void ServiceTest::WriteCached(const std::string& file, const std::string& bytes) const {
    std::ofstream(root_ / file, std::ios::binary) << bytes;
}

}  // namespace pixelforge::test
