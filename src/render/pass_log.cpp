// How a driver's log about a pass is worded.
#include "render/pass_log.h"

#include <algorithm>

namespace pixelforge {

namespace {

bool BeginsWithPositionIn(std::string_view line, std::string_view passName) {
    if (passName.empty() || !line.starts_with(passName)) {
        return false;
    }
    line.remove_prefix(passName.size());
    return line.size() > 1 && line[0] == ':' && line[1] >= '0' && line[1] <= '9';
}

}  // namespace

std::vector<std::string> WordPassLog(std::string_view passName, std::string_view log) {
    std::vector<std::string> lines;
    while (!log.empty()) {
        std::string_view line = log.substr(0, log.find('\n'));
        log.remove_prefix(std::min(line.size() + 1, log.size()));
        while (!line.empty() && (line.back() == '\r' || line.back() == '\0')) {
            line.remove_suffix(1);
        }
        if (line.empty()) {
            continue;
        }
        std::string& worded = lines.emplace_back();
        if (!BeginsWithPositionIn(line, passName)) {
            worded.append(passName).append(": ");
        }
        worded += line;
    }
    return lines;
}

}  // namespace pixelforge
