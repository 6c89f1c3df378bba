// Maps the lines of an assembled text to the texts they came from, and a driver's line numbers to these
// lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pixelforge {

/// A line in a named text: "Image", "Common", "PREFIX" or an include file's name.
struct SourceLine {
    std::string source;      ///< UTF-8
    std::uint32_t line = 0;  ///< counted from 1
};

/// Where and why an expansion failed.
struct ExpansionFailure {
    SourceLine at;      ///< nameless if in the module's own list of texts
    std::string cause;  ///< one clause; empty if there is no failure or memory ran out
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

    /// Records that the expansion failed at a line of `source`.
    void SetFailure(std::uint32_t source, std::uint32_t sourceLine, std::string_view cause);
    const ExpansionFailure& Failure() const noexcept { return failure_; }

private:
    struct Stretch {
        std::uint32_t outputLine;
        std::uint32_t source;
        std::uint32_t sourceLine;
    };
    std::vector<std::string> sources_;
    std::vector<Stretch> stretches_;
    ExpansionFailure failure_;
};

/// The numbers that a driver gives the lines of an assembled text. An author's "#line N" makes the next line
/// number N. (Before GLSL 3.30 it was N + 1, but the module's text needs 4.20.)
class DriverLines {
public:
    explicit DriverLines(std::string_view text);

    /// The lines of the text, counted from 1, that a driver may mean; `sourceString` is absent if unknown.
    /// Several if a `#line` repeats numbers or is conditional; none if one cannot be read, for example
    /// because of a macro, or if there are more than 1000. Without any `#line`, numbers past the text's end
    /// are found, too.
    std::vector<std::uint32_t> Find(std::uint32_t number, std::optional<std::uint32_t> sourceString) const;

    /// The number of lines in the text.
    std::uint32_t LastLine() const noexcept { return lastLine_; }

    /// The first line with a non-ASCII character outside comments; 0 if there is none.
    std::uint32_t NonAsciiLine() const noexcept { return nonAsciiLine_; }

private:
    /// Lines numbered consecutively.
    struct Stretch {
        std::uint32_t first = 1;
        std::uint32_t last = std::numeric_limits<std::uint32_t>::max();
        std::uint32_t number = 1;  ///< of the first line
        std::uint32_t sourceString = 0;
    };

    void ReadDirective(std::string_view code, std::uint32_t firstLine);
    void ReadLineDirective(std::string_view text, std::uint32_t firstLine);
    void EndOpenStretches(std::uint32_t lastLine);

    std::vector<Stretch> stretches_ = std::vector<Stretch>(1);
    std::size_t open_ = 0;  ///< index of the first stretch that may continue
    std::uint32_t lastLine_ = 0;
    std::uint32_t nonAsciiLine_ = 0;
    std::uint32_t openConditions_ = 0;
    bool readable_ = true;
};

}  // namespace pixelforge
