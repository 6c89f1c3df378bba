// Takes repetitions and internal names out of the module's messages.
#include "preview/messages.h"

#include <unordered_set>
#include <utility>

namespace pixelforge::preview {
namespace {

/// Every line of the module begins with its name, which would hide "Buffer A:12: error" from editors.
constexpr std::string_view kModulePrefix = "Pixelforge: ";

std::string WithName(std::string line, std::string_view alias, std::string_view name) {
    if (alias.empty()) {
        return line;
    }
    for (std::size_t at = line.find(alias); at != std::string::npos;
         at = line.find(alias, at + name.size())) {
        line.replace(at, alias.size(), name);
    }
    return line;
}

}  // namespace

std::vector<std::string> ReadableLines(const std::vector<std::string>& lines, std::string_view alias,
                                       std::string_view name) {
    std::vector<std::string> readable;
    std::unordered_set<std::string> said;
    for (const std::string& line : lines) {
        std::string named = WithName(line, alias, name);
        if (named.starts_with(kModulePrefix)) {
            named.erase(0, kModulePrefix.size());
        }
        if (said.insert(named).second) {
            readable.push_back(std::move(named));
        }
    }
    return readable;
}

}  // namespace pixelforge::preview
