// Which line of which author's text every line of an assembled text came from.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pixelforge {

/// A line in a text that has a name: "Image", "Common", "PREFIX" or an include file's name.
struct SourceLine {
    std::string source;      ///< UTF-8
    std::uint32_t line = 0;  ///< counted from 1
};

/// Filled by the preprocessor beside its run. A stretch of output lines that came from consecutive lines
/// of one text is one entry.
class LineMap {
public:
    void Clear();

    /// Adds a text; the result is passed to `Begin`. Lines of a text with an empty name are not found.
    std::uint32_t AddSource(std::string name);

    /// From output line `outputLine` on, lines come from `source`, beginning with its line `sourceLine`.
    /// Output lines come in ascending order; a second call for the same output line replaces the first.
    void Begin(std::uint32_t outputLine, std::uint32_t source, std::uint32_t sourceLine);

    /// Where an output line (counted from 1) came from; nothing for line 0 or an empty map. The map does
    /// not know where the output ends: lines behind its end belong to the last text.
    std::optional<SourceLine> Find(std::uint32_t outputLine) const;

private:
    struct Stretch {
        std::uint32_t outputLine;
        std::uint32_t source;
        std::uint32_t sourceLine;
    };
    std::vector<std::string> sources_;
    std::vector<Stretch> stretches_;
};

}  // namespace pixelforge
