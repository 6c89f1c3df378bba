// The stretches of a line map, and the search among them.
#include "glsl/line_map.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace pixelforge {

void LineMap::Clear() {
    sources_.clear();
    stretches_.clear();
}

std::uint32_t LineMap::AddSource(std::string name) {
    sources_.push_back(std::move(name));
    return static_cast<std::uint32_t>(sources_.size() - 1);
}

void LineMap::Begin(std::uint32_t outputLine, std::uint32_t source, std::uint32_t sourceLine) {
    stretches_.push_back({outputLine, source, sourceLine});
}

// Of several stretches that begin at the same line, the last wins.
std::optional<SourceLine> LineMap::Find(std::uint32_t outputLine) const {
    const auto next =
        std::upper_bound(stretches_.begin(), stretches_.end(), outputLine,
                         [](std::uint32_t line, const Stretch& s) { return line < s.outputLine; });
    if (next == stretches_.begin()) {
        return std::nullopt;
    }
    const Stretch& stretch = *std::prev(next);
    const std::string& name = sources_[stretch.source];
    if (name.empty()) {
        return std::nullopt;
    }
    const std::uint64_t line = std::uint64_t{stretch.sourceLine} + (outputLine - stretch.outputLine);
    constexpr std::uint64_t kLastLine = std::numeric_limits<std::uint32_t>::max();
    return SourceLine{name, static_cast<std::uint32_t>(std::min(line, kLastLine))};
}

}  // namespace pixelforge
