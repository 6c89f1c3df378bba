// Stretches of lines: which text they came from, and how a driver numbers them.
#include "glsl/line_map.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <limits>
#include <utility>

#include "base/text.h"

namespace pixelforge {
namespace {

/// Beyond it the numbers count as unreadable: each log line is compared with each `#line`.
constexpr std::size_t kMaxLineDirectives = 1000;

/// A text as the GLSL preprocessor sees it: lines joined at a final backslash and within a block comment,
/// each comment replaced by a space.
class LogicalLines {
public:
    explicit LogicalLines(std::string_view text) : rest_(text) {}

    /// False at the end of the text.
    bool Next();

    std::string_view Code() const noexcept { return code_; }
    /// The line's extent in the text, counted from 1.
    std::uint32_t First() const noexcept { return first_; }
    std::uint32_t Last() const noexcept { return last_; }

private:
    std::string TakeJoinedLine();
    void AppendCode(std::string_view line);

    std::string_view rest_;
    std::string code_;
    std::uint32_t first_ = 0;
    std::uint32_t last_ = 0;
    bool inComment_ = false;
};

bool LogicalLines::Next() {
    if (rest_.empty()) {
        return false;
    }
    code_.clear();
    first_ = last_ + 1;
    do {
        AppendCode(TakeJoinedLine());
    } while (inComment_ && !rest_.empty());
    return true;
}

std::string LogicalLines::TakeJoinedLine() {
    std::string line(TakeLine(rest_));
    for (++last_; line.ends_with('\\') && !rest_.empty(); ++last_) {
        line.pop_back();
        line += TakeLine(rest_);
    }
    return line;
}

void LogicalLines::AppendCode(std::string_view line) {
    while (!line.empty()) {
        if (inComment_) {
            const std::size_t end = line.find("*/");
            inComment_ = end == std::string_view::npos;
            line.remove_prefix(inComment_ ? line.size() : end + 2);
        } else if (line.starts_with("/*")) {
            inComment_ = true;
            code_ += ' ';
            line.remove_prefix(2);
        } else if (line.starts_with("//")) {
            return;
        } else {
            code_ += line.front();
            line.remove_prefix(1);
        }
    }
}

/// A directive's name and argument; both empty for other lines.
struct Directive {
    std::string_view name;
    std::string_view argument;
};

std::string_view WithoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\v\f";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

Directive ParseDirective(std::string_view code) {
    code = WithoutBlanks(code);
    if (!code.starts_with('#')) {
        return {};
    }
    code = WithoutBlanks(code.substr(1));
    const std::size_t length = std::min(code.find_first_not_of("abcdefghijklmnopqrstuvwxyz"), code.size());
    return {code.substr(0, length), WithoutBlanks(code.substr(length))};
}

struct LineArgument {
    std::uint32_t number = 0;
    std::optional<std::uint32_t> sourceString;
};

/// Reads "NUMBER" or "NUMBER STRING". std::nullopt for other arguments: macros, and octal and hexadecimal
/// numbers, which drivers read differently.
std::optional<LineArgument> ParseLineArgument(std::string_view text) {
    LineArgument argument;
    for (const bool first : {true, false}) {
        std::uint32_t& field = first ? argument.number : argument.sourceString.emplace();
        const bool octal = text.size() > 1 && text.starts_with('0');
        const auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), field);
        if (octal || error != std::errc()) {
            return std::nullopt;
        }
        const std::string_view rest = text.substr(static_cast<std::size_t>(next - text.data()));
        text = WithoutBlanks(rest);
        if (text.empty()) {
            return argument;
        }
        if (text.size() == rest.size()) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace

void LineMap::Clear() {
    sources_.clear();
    stretches_.clear();
    failure_ = {};
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

void LineMap::SetFailure(std::uint32_t source, std::uint32_t sourceLine, std::string_view cause) {
    failure_ = {{sources_[source], sourceLine}, std::string(cause)};
}

DriverLines::DriverLines(std::string_view text) {
    LogicalLines lines(text);
    while (lines.Next()) {
        lastLine_ = lines.Last();
        ReadDirective(lines.Code(), lines.First());
        if (nonAsciiLine_ == 0 && std::ranges::any_of(lines.Code(), [](char c) { return (c & 0x80) != 0; })) {
            nonAsciiLine_ = lines.First();
        }
    }
    if (stretches_.size() > 1) {
        EndOpenStretches(lastLine_ + 1);
    }
}

void DriverLines::ReadDirective(std::string_view code, std::uint32_t firstLine) {
    const Directive directive = ParseDirective(code);
    if (directive.name == "if" || directive.name == "ifdef" || directive.name == "ifndef") {
        ++openConditions_;
    } else if (directive.name == "endif") {
        openConditions_ -= openConditions_ > 0 ? 1 : 0;
    } else if (directive.name == "line") {
        ReadLineDirective(directive.argument, firstLine);
    }
}

/// Drivers disagree about a directive that extends over several lines. Whether a conditional one ends the
/// earlier numbers is unknown. Without a source string the current one stays, which after a conditional
/// directive may be unknown.
void DriverLines::ReadLineDirective(std::string_view text, std::uint32_t firstLine) {
    const std::optional<LineArgument> argument = ParseLineArgument(text);
    const std::uint32_t current = stretches_.back().sourceString;
    const bool oneString =
        std::all_of(stretches_.begin() + static_cast<std::ptrdiff_t>(open_), stretches_.end(),
                    [current](const Stretch& open) { return open.sourceString == current; });
    readable_ = readable_ && argument && firstLine == lastLine_ && (argument->sourceString || oneString) &&
                stretches_.size() <= kMaxLineDirectives;
    if (!readable_) {
        return;
    }
    if (openConditions_ == 0) {
        EndOpenStretches(lastLine_);
    }
    stretches_.push_back({.first = lastLine_ + 1,
                          .number = argument->number,
                          .sourceString = argument->sourceString.value_or(current)});
}

void DriverLines::EndOpenStretches(std::uint32_t lastLine) {
    for (; open_ < stretches_.size(); ++open_) {
        stretches_[open_].last = lastLine;
    }
}

std::vector<std::uint32_t> DriverLines::Find(std::uint32_t number,
                                             std::optional<std::uint32_t> sourceString) const {
    std::vector<std::uint32_t> found;
    for (const Stretch& stretch : stretches_) {
        const std::uint64_t line = std::uint64_t{stretch.first} + number - stretch.number;
        if (readable_ && number >= stretch.number && line <= stretch.last &&
            sourceString.value_or(stretch.sourceString) == stretch.sourceString) {
            found.push_back(static_cast<std::uint32_t>(line));
        }
    }
    return found;
}

}  // namespace pixelforge
