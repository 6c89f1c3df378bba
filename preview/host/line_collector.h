// Joins the pieces that a program writes to the debugger output into lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

class LineCollector {
public:
    /// A line ends at "\n"; "\r" is dropped. What follows the last line end waits for the next piece.
    void Add(std::string_view piece);

    /// The lines so far, an unfinished last one included.
    std::vector<std::string> Lines() const;

    void Clear();

private:
    std::vector<std::string> lines_;
    std::string unfinished_;
};

}  // namespace pixelforge::preview
