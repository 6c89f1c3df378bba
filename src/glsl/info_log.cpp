// Parses the positions in a driver's log and rewrites them.
#include "glsl/info_log.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

#include "glsl/line_map.h"

namespace pixelforge {
namespace {

/// A position at the start of a log line, and the rest of the line.
struct Position {
    std::string_view severity;  ///< "ERROR: " or "WARNING: " before the position, else empty
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
    if (reader.ReadNumber() != 0U) {
        return std::nullopt;
    }
    std::optional<std::uint32_t> line = reader.ReadNumberInParentheses();
    if (!line && reader.Skip(":")) {
        line = reader.ReadNumber();
        position.column = reader.ReadNumberInParentheses();
    }
    reader.SkipBlanks();
    if (!line || !reader.Skip(":")) {
        return std::nullopt;
    }
    reader.SkipBlanks();
    position.line = *line;
    position.message = reader.Rest();
    return position;
}

void AppendMapped(std::string& result, std::string_view logLine, const LineMap& lines) {
    const std::optional<Position> position = ParsePosition(logLine);
    const std::optional<SourceLine> origin = position ? lines.Find(position->line) : std::nullopt;
    if (!origin) {
        result.append(logLine).append("\n");
        return;
    }
    result.append(origin->source).append(":").append(std::to_string(origin->line)).append(":");
    if (position->column) {
        result.append(std::to_string(*position->column)).append(":");
    }
    result.append(" ").append(position->severity).append(position->message).append("\n");
}

bool BeginsWithPositionIn(std::string_view line, std::string_view passName) {
    if (passName.empty() || !line.starts_with(passName)) {
        return false;
    }
    line.remove_prefix(passName.size());
    return line.size() > 1 && line[0] == ':' && line[1] >= '0' && line[1] <= '9';
}

}  // namespace

std::string MapInfoLog(std::string_view log, const LineMap& lines) {
    std::string result;
    while (!log.empty()) {
        const std::size_t length = std::min(log.find('\n'), log.size());
        std::string_view logLine = log.substr(0, length);
        log.remove_prefix(std::min(length + 1, log.size()));
        if (logLine.ends_with('\r')) {
            logLine.remove_suffix(1);
        }
        AppendMapped(result, logLine, lines);
    }
    return result;
}

std::vector<std::string> PrefixPassLog(std::string_view passName, std::string_view log) {
    std::vector<std::string> lines;
    while (!log.empty()) {
        std::string_view line = log.substr(0, log.find('\n'));
        log.remove_prefix(std::min(line.size() + 1, log.size()));
        while (line.ends_with('\r') || line.ends_with('\0')) {
            line.remove_suffix(1);
        }
        if (line.empty()) {
            continue;
        }
        std::string& prefixed = lines.emplace_back();
        if (!BeginsWithPositionIn(line, passName)) {
            prefixed.append(passName).append(": ");
        }
        prefixed += line;
    }
    return lines;
}

}  // namespace pixelforge
