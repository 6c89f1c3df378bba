// Parses the module's messages about a shader.
#include "preview/documents/editor_lines.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <unordered_set>

#include "base/text.h"

namespace pixelforge::preview {
namespace {

constexpr std::string_view kPassNames[] = {"Common",   "Buffer A", "Buffer B", "Buffer C",
                                           "Buffer D", "Cube A",   "Image"};
constexpr std::string_view kLoadFailure = "cannot load a shader: ";
constexpr std::string_view kCandidates = "candidates are:";

/// More of a function's overloads only hide the next error.
constexpr int kShownCandidates = 2;

bool Skip(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

bool SkipNumber(std::string_view& text, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

std::string Position(std::string_view place, int line, int column) {
    return std::string(place) + ":" + std::to_string(line) + ":" + std::to_string(column) + ": ";
}

/// Removes "error: ", "ERROR: ", "error C1008: " or the same of a warning; `otherwise` if there is none.
std::string_view TakeSeverity(std::string_view& message, std::string_view otherwise) {
    Skip(message, "preprocessor ");
    for (const std::string_view word : {"error", "ERROR", "warning", "WARNING"}) {
        if (message.starts_with(word) && message.substr(word.size()).starts_with(": ")) {
            message.remove_prefix(word.size() + 2);
        } else if (message.starts_with(word) && message.substr(word.size()).starts_with(" C")) {
            message.remove_prefix(word.size() + 1);
        } else if (message.find(std::string(": ") + std::string(word) + ":") == message.npos) {
            continue;
        }
        return word.front() == 'e' || word.front() == 'E' ? "error: " : "warning: ";
    }
    return otherwise;
}

int LastLine(std::string_view code) {
    const std::size_t end = code.find_last_not_of("\r\n");
    return 1 + static_cast<int>(std::ranges::count(code.substr(0, end == code.npos ? 0 : end), '\n'));
}

class Translation {
public:
    explicit Translation(const SourceNames& names) : names_(names), shader_(names.shader) {}

    void SetShader(std::string name) { shader_ = std::move(name); }
    void Add(const std::string& line);
    std::vector<std::string> Take();

private:
    void AddOfPass(std::string_view pass, std::string_view rest);
    bool AddPositioned(std::string_view place, std::string_view rest);
    bool AddIncluded(std::string_view rest);
    void AddWithoutPosition(const ShaderText& text, std::string_view message);
    void AddLoadFailure(std::string_view rest);
    void AddMessage(const std::string& position, std::string_view message, std::string_view severity);
    void AddLine(std::string line);
    void EndCandidates();
    ShaderText TextOf(std::string_view pass) const;
    std::string InputPlaceOf(std::string_view pass, int channel) const;

    const SourceNames& names_;
    std::string shader_;
    std::vector<std::string> lines_;
    std::string candidatesAt_;  ///< position of the open list of candidates
    int candidates_ = 0;
};

void Translation::Add(const std::string& line) {
    std::string_view rest = line;
    const std::string_view pass = PassNameAt(line);
    const std::string_view ofPass = rest.substr(pass.size());
    if (!pass.empty() && !ofPass.starts_with(' ') && !shader_.empty()) {
        AddOfPass(pass, ofPass);
    } else if (names_.file && Skip(rest, std::string(kLoadFailure) + names_.shader + ": ")) {
        AddLoadFailure(rest);
    } else {
        AddLine(line);
    }
}

void Translation::AddOfPass(std::string_view pass, std::string_view rest) {
    const ShaderText text = TextOf(pass);
    int channel = 0;
    std::string_view empty = rest;
    if (Skip(empty, ", iChannel") && SkipNumber(empty, channel) && Skip(empty, " stays empty: ")) {
        AddLine(InputPlaceOf(pass, channel) + ": warning: " + std::string(rest.substr(2)));
    } else if (!AddPositioned(text.place, rest) && !AddIncluded(rest)) {
        Skip(rest, ": ");
        AddWithoutPosition(text, rest);
    }
}

/// Of the form ":12:5: error: ..." or ":12: ...".
bool Translation::AddPositioned(std::string_view place, std::string_view rest) {
    int line = 0;
    int column = 1;
    if (!Skip(rest, ":") || !SkipNumber(rest, line)) {
        return false;
    }
    std::string_view withColumn = rest;
    if (Skip(withColumn, ":") && SkipNumber(withColumn, column)) {
        rest = withColumn;
    }
    if (!Skip(rest, ": ")) {
        return false;
    }
    AddMessage(Position(place, line, column), rest, "error: ");
    return true;
}

/// Of the form ": Common:12: ..." or ": noise.glsl:12: ...".
bool Translation::AddIncluded(std::string_view rest) {
    if (!Skip(rest, ": ")) {
        return false;
    }
    for (const ShaderText& text : names_.texts) {
        const std::string_view source = rest.substr(0, text.source.size());
        if (EqualIgnoringAsciiCase(FromUtf8(source), FromUtf8(text.source)) &&
            AddPositioned(text.place, rest.substr(source.size()))) {
            return true;
        }
    }
    return names_.texts.empty() && rest.starts_with("Common:") &&
           AddPositioned(TextOf("Common").place, rest.substr(6));
}

void Translation::AddWithoutPosition(const ShaderText& text, std::string_view message) {
    const std::string name = text.source;
    if (Skip(message, "after the end of " + name + " (a brace may be missing): ")) {
        const std::string_view severity = TakeSeverity(message, "error: ");
        AddLine(Position(text.place, LastLine(text.code), 1) + std::string(severity) + std::string(message) +
                " (after the end of the text; a brace may be missing)");
    } else if (Skip(message, "in the module's own lines after " + name + ": ")) {
        AddMessage(Position(text.place, LastLine(text.code), 1), message, "error: ");
    } else {
        const std::string_view plain = message;
        const std::string_view severity = TakeSeverity(message, {});
        AddLine((severity.empty() ? text.place + ": " : Position(text.place, 1, 1)) + std::string(severity) +
                std::string(severity.empty() ? plain : message));
    }
}

/// Several faults are separated by commas, each begins with its pass. Those with a position become lines of
/// their own.
void Translation::AddLoadFailure(std::string_view rest) {
    int line = 0;
    int column = 0;
    std::string_view json = rest;
    if (Skip(json, "line ") && SkipNumber(json, line) && Skip(json, ", column ") &&
        SkipNumber(json, column) && Skip(json, ": ")) {
        return AddMessage(Position(shader_, line, column), json, "error: ");
    }
    if (PassNameAt(rest).empty()) {
        return AddMessage(Position(shader_, 1, 1), rest, "error: ");
    }
    std::string others;
    while (!rest.empty()) {
        std::size_t end = rest.find(", ");
        while (end != rest.npos && PassNameAt(rest.substr(end + 2)).empty()) {
            end = rest.find(", ", end + 2);
        }
        std::string_view fault = rest.substr(0, end);
        rest.remove_prefix(std::min(fault.size() + 2, rest.size()));
        const std::string_view pass = PassNameAt(fault);
        const std::string_view cause = fault.substr(pass.size());
        if (cause.starts_with(':')) {
            AddOfPass(pass, cause);
        } else {
            others += (others.empty() ? "" : ", ") + std::string(fault);
        }
    }
    if (!others.empty()) {
        AddLine(std::string(kLoadFailure) + shader_ + ": " + others);
    }
}

/// Mesa repeats the error's position for each candidate, and indents it.
void Translation::AddMessage(const std::string& position, std::string_view message,
                             std::string_view severity) {
    severity = TakeSeverity(message, severity);
    if (position == candidatesAt_ && message.starts_with(' ')) {
        const std::size_t first = message.find_first_not_of(' ');
        if (first != message.npos && ++candidates_ <= kShownCandidates) {
            lines_.back().append(candidates_ == 1 ? " " : ", ").append(message.substr(first));
        }
        return;
    }
    AddLine(position + std::string(severity) + std::string(message));
    if (message.ends_with(kCandidates)) {
        candidatesAt_ = position;
    }
}

void Translation::EndCandidates() {
    if (candidates_ > kShownCandidates) {
        lines_.back() += " and " + std::to_string(candidates_ - kShownCandidates) + " more";
    }
    candidatesAt_.clear();
    candidates_ = 0;
}

/// An error in Common or in an include file appears once for each pass.
void Translation::AddLine(std::string line) {
    EndCandidates();
    lines_.push_back(std::move(line));
}

std::vector<std::string> Translation::Take() {
    EndCandidates();
    std::unordered_set<std::string> seen;
    std::erase_if(lines_, [&](const std::string& line) { return !seen.insert(line).second; });
    return std::move(lines_);
}

ShaderText Translation::TextOf(std::string_view pass) const {
    const auto text = std::ranges::find(names_.texts, pass, &ShaderText::source);
    return text != names_.texts.end() ? *text
                                      : ShaderText{std::string(pass), shader_ + ": " + std::string(pass), {}};
}

std::string Translation::InputPlaceOf(std::string_view pass, int channel) const {
    const auto input = std::ranges::find_if(names_.inputs, [&](const InputPlace& place) {
        return place.pass == pass && place.channel == channel;
    });
    return input != names_.inputs.end() ? input->place : TextOf(pass).place;
}

/// Of a playlist's pick: the name in the next failure, which is the last of a load's lines. Empty if that
/// load did not fail.
std::string NextPick(std::span<const std::string> lines) {
    const auto failure =
        std::ranges::find_if(lines, [](const std::string& line) { return line.starts_with(kLoadFailure); });
    if (failure == lines.end()) {
        return {};
    }
    const std::string_view pick = std::string_view(*failure).substr(kLoadFailure.size());
    return std::string(pick.substr(0, pick.find(": ")));
}

}  // namespace

std::string_view PassNameAt(std::string_view text) {
    for (const std::string_view name : kPassNames) {
        const char next = text.size() > name.size() ? text[name.size()] : '\0';
        if (text.starts_with(name) && (next == ':' || next == ',' || next == ' ')) {
            return text.substr(0, name.size());
        }
    }
    return {};
}

std::vector<std::string> EditorLines(const std::vector<std::string>& lines, const SourceNames& names) {
    Translation translation(names);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (names.shader.empty() && (i == 0 || lines[i - 1].starts_with(kLoadFailure))) {
            translation.SetShader(NextPick(std::span(lines).subspan(i)));
        }
        translation.Add(lines[i]);
    }
    return translation.Take();
}

}  // namespace pixelforge::preview
