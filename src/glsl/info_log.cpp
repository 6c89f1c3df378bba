// Parses the positions in a driver's log, and rewrites them.
#include "glsl/info_log.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/text.h"
#include "glsl/line_map.h"
#include "glsl/pass_source.h"

namespace pixelforge {
namespace {

/// A driver may write an error for each line of a generated text.
constexpr std::size_t kMaxLogLines = 1000;

/// A position at the start of a log line, and the rest of the line.
struct Position {
    std::string_view severity;  ///< "ERROR: " or "WARNING: " before the position, else empty
    std::uint32_t sourceString = 0;
    std::uint32_t line = 0;
    std::optional<std::uint32_t> column;
    std::string_view message;
};

/// Consumes a line from the front; a mismatch consumes nothing.
class LineReader {
public:
    explicit LineReader(std::string_view line) : rest_(line) {}

    bool Skip(std::string_view expected) {
        if (!rest_.starts_with(expected)) {
            return false;
        }
        rest_.remove_prefix(expected.size());
        return true;
    }

    std::optional<std::uint32_t> ReadNumber() {
        std::uint32_t number = 0;
        const char* const end = rest_.data() + rest_.size();
        const auto [next, error] = std::from_chars(rest_.data(), end, number);
        if (error != std::errc()) {
            return std::nullopt;
        }
        rest_.remove_prefix(static_cast<std::size_t>(next - rest_.data()));
        return number;
    }

    std::optional<std::uint32_t> ReadNumberInParentheses() {
        LineReader ahead = *this;
        const std::optional<std::uint32_t> number = ahead.Skip("(") ? ahead.ReadNumber() : std::nullopt;
        if (!number || !ahead.Skip(")")) {
            return std::nullopt;
        }
        *this = ahead;
        return number;
    }

    void SkipBlanks() {
        while (Skip(" ") || Skip("\t")) {
        }
    }

    std::string_view Rest() const { return rest_; }

private:
    std::string_view rest_;
};

std::string_view ReadSeverity(LineReader& reader) {
    for (const std::string_view word : {"ERROR: ", "WARNING: "}) {
        if (reader.Skip(word)) {
            return word;
        }
    }
    return {};
}

std::optional<Position> ParsePosition(std::string_view logLine) {
    LineReader reader(logLine);
    Position position;
    position.severity = ReadSeverity(reader);
    const std::optional<std::uint32_t> sourceString = reader.ReadNumber();
    std::optional<std::uint32_t> line = reader.ReadNumberInParentheses();
    if (!line && reader.Skip(":")) {
        line = reader.ReadNumber();
        position.column = reader.ReadNumberInParentheses();
    }
    reader.SkipBlanks();
    if (!sourceString || !line || !reader.Skip(":")) {
        return std::nullopt;
    }
    reader.SkipBlanks();
    position.sourceString = *sourceString;
    position.line = *line;
    position.message = reader.Rest();
    return position;
}

bool IsText(const SourceLine& line, std::wstring_view name) {
    return EqualIgnoringAsciiCase(FromUtf8(line.source), name);
}

/// The words that the prefix renames, as the author wrote them.
std::string WithoutRenaming(std::string message) {
    for (std::size_t at = message.find(kRenamed); at != std::string::npos; at = message.find(kRenamed, at)) {
        message.erase(at, kRenamed.size());
    }
    return message;
}

/// A line of an author's text: "Image:3", or "Image: Common:3" for a text that the pass includes.
std::string PlaceInText(std::string_view passName, const SourceLine& line) {
    const std::string pass = line.source == passName ? "" : std::string(passName) + ": ";
    return pass + line.source + ":" + std::to_string(line.line);
}

/// Translates the log of one pass.
class LogTranslation {
public:
    LogTranslation(std::string_view passName, std::string_view text, const LineMap& lines)
        : passName_(passName), driverLines_(text), lines_(lines) {}

    std::string Translate(std::string_view logLine) const;

private:
    std::uint32_t FindLine(const Position& position) const;
    std::string Place(const Position& position, std::uint32_t line) const;
    std::string EarlyEnd(std::string_view message) const;

    std::string passName_;
    DriverLines driverLines_;
    const LineMap& lines_;
};

std::string LogTranslation::Translate(std::string_view logLine) const {
    const std::optional<Position> position = ParsePosition(logLine);
    const std::uint32_t line = position ? FindLine(*position) : 0;
    if (line == 0) {
        return passName_ + ": " + std::string(logLine) + EarlyEnd(logLine);
    }
    return Place(*position, line).append(": ").append(position->severity).append(position->message) +
           EarlyEnd(position->message);
}

/// Mesa ends the text at a non-ASCII character outside comments and says only that the rest is missing.
std::string LogTranslation::EarlyEnd(std::string_view message) const {
    const std::optional<SourceLine> origin = lines_.Find(driverLines_.NonAsciiLine());
    const bool restMissing = message.find("lacks `main'") != std::string_view::npos ||
                             message.find("unexpected end of file") != std::string_view::npos;
    if (!origin || !restMissing) {
        return {};
    }
    return " (the driver may end the text at the non-ASCII character in " + origin->source + ":" +
           std::to_string(origin->line) + ")";
}

/// 0 if uncertain. PREFIX compiles, so its lines count only if no other is possible.
std::uint32_t LogTranslation::FindLine(const Position& position) const {
    std::uint32_t inPrefix = 0;
    std::uint32_t elsewhere = 0;
    // Mesa, the driver that writes columns, loses the source string of most errors.
    const bool lost = position.column && position.sourceString == 0;
    for (const std::uint32_t line :
         driverLines_.Find(position.line, lost ? std::nullopt : std::optional(position.sourceString))) {
        const std::optional<SourceLine> origin = lines_.Find(line);
        if (origin && IsText(*origin, kPrefixName)) {
            inPrefix = line;
        } else if (origin && elsewhere != 0) {
            return 0;
        } else if (origin) {
            elsewhere = line;
        }
    }
    return elsewhere != 0 ? elsewhere : inPrefix;
}

std::string LogTranslation::Place(const Position& position, std::uint32_t line) const {
    const SourceLine origin = *lines_.Find(line);
    if (IsText(origin, kPrefixName)) {
        return passName_ + ": in the module's own lines before " + passName_;
    }
    if (IsText(origin, kSuffixName)) {
        // Drivers write "syntax error" or "Syntax error".
        const bool unfinished =
            line >= driverLines_.LastLine() || position.message.find("yntax error") != std::string_view::npos;
        return passName_ + (unfinished ? ": after the end of " + passName_ + " (a brace may be missing)"
                                       : ": in the module's own lines after " + passName_);
    }
    return PlaceInText(passName_, origin) +
           (position.column ? ":" + std::to_string(*position.column) : std::string());
}

}  // namespace

std::string AssemblyFailure(std::string_view passName, const LineMap& lines) {
    const ExpansionFailure& failure = lines.Failure();
    const std::string place =
        failure.at.source.empty() ? std::string(passName) : PlaceInText(passName, failure.at);
    return place + ": " + (failure.cause.empty() ? "out of memory" : failure.cause);
}

std::vector<std::string> MapInfoLog(std::string_view passName, std::string_view log, std::string_view text,
                                    const LineMap& lines) {
    const LogTranslation translation(passName, text, lines);
    std::vector<std::string> translated;
    while (!log.empty()) {
        if (translated.size() == kMaxLogLines) {
            translated.push_back(std::string(passName) + ": the rest of the driver's log is left out");
            break;
        }
        std::string_view line = TakeLine(log);
        while (line.ends_with('\r') || line.ends_with('\0')) {
            line.remove_suffix(1);
        }
        if (!line.empty()) {
            translated.push_back(WithoutRenaming(translation.Translate(line)));
        }
    }
    return translated;
}

}  // namespace pixelforge
