// Splits debugger output into lines across piece borders.
#include "preview/host/line_collector.h"

#include <utility>

namespace pixelforge::preview {

void LineCollector::Add(std::string_view piece) {
    for (const char c : piece) {
        if (c == '\n') {
            lines_.push_back(std::exchange(unfinished_, {}));
        } else if (c != '\r') {
            unfinished_ += c;
        }
    }
}

std::vector<std::string> LineCollector::Lines() const {
    std::vector<std::string> lines = lines_;
    if (!unfinished_.empty()) {
        lines.push_back(unfinished_);
    }
    return lines;
}

void LineCollector::Clear() {
    lines_.clear();
    unfinished_.clear();
}

}  // namespace pixelforge::preview
