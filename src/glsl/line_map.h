// Maps the lines of an assembled text to the texts they came from.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pixelforge {

/// A line in a named text: "Image", "Common", "PREFIX" or an include file's name.
struct SourceLine {
    std::string source;      ///< UTF-8
    std::uint32_t line = 0;  ///< counted from 1
};

/// Filled by the preprocessor. One entry covers a stretch of output lines that came from consecutive lines of
/// one text.
class LineMap {
public:
    void Clear();

    /// Adds a text and returns its number for `Begin`. Lines of a text with an empty name are never found.
    std::uint32_t AddSource(std::string name);

    /// From output line `outputLine` on, lines come from `source`, starting at its line `sourceLine`. Called
    /// in ascending order of output lines; a second call for the same line overrides the first.
    void Begin(std::uint32_t outputLine, std::uint32_t source, std::uint32_t sourceLine);

    /// Where an output line (counted from 1) came from; std::nullopt for line 0 and for an empty map. The map
    /// does not know the output's length: lines past its end belong to the last text.
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
