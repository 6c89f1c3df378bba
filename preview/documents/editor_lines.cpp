// Parses the module's messages about a shader.
#include "preview/documents/editor_lines.h"

#include <algorithm>
#include <regex>
#include <unordered_set>

#include "base/text.h"

namespace pixelforge::preview {
namespace {

// Of the start of a text only: the library's matcher recurses for each character that a pattern repeats.
const std::regex kPassName("(Common|Buffer [A-D]|Cube A|Image)(?=[:, ])");
const std::regex kEmptyChannel(", iChannel([0-3]) stays empty: ");
const std::regex kPosition(":(\\d+)(?::(\\d+))?: ");
const std::regex kJsonPosition("line (\\d+), column (\\d+): ");
const std::regex kSeverity("(?:preprocessor )?(error|warning)(?:: | (?=C))", std::regex::icase);
const std::regex kLaterSeverity(": (error|warning):", std::regex::icase);
constexpr std::string_view kLoadFailure = "cannot load a shader: ";
constexpr std::string_view kCandidates = "candidates are:";

/// More of a function's overloads only hide the next error.
constexpr int kShownCandidates = 2;

bool Skip(std::string_view& text, std::string_view expected) {
    const bool found = text.starts_with(expected);
    text.remove_prefix(found ? expected.size() : 0);
    return found;
}

/// Removes what the pattern matches at the start of the text.
bool Skip(std::string_view& text, const std::regex& pattern, std::cmatch& found) {
    const bool any = std::regex_search(text.data(), text.data() + text.size(), found, pattern,
                                       std::regex_constants::match_continuous);
    text.remove_prefix(any ? static_cast<std::size_t>(found.length()) : 0);
    return any;
}

/// The name of a pass, if the text begins with it; else empty.
std::string_view PassNameAt(std::string_view text) {
    std::cmatch found;
    std::string_view rest = text;
    Skip(rest, kPassName, found);
    return text.substr(0, text.size() - rest.size());
}

/// Removes "error: ", "ERROR: ", "error C1008: " or the same of a warning; `otherwise` if there is none.
std::string_view TakeSeverity(std::string_view& message, std::string_view otherwise) {
    std::cmatch found;
    if (!Skip(message, kSeverity, found) &&
        !std::regex_search(message.data(), message.data() + message.size(), found, kLaterSeverity)) {
        return otherwise;
    }
    return *found[1].first == 'e' || *found[1].first == 'E' ? "error: " : "warning: ";
}

/// Removes the first of several faults, up to the comma before the next pass's name.
std::string_view TakeFault(std::string_view& faults) {
    std::size_t end = faults.find(", ");
    while (end != faults.npos && PassNameAt(faults.substr(end + 2)).empty()) {
        end = faults.find(", ", end + 2);
    }
    const std::string_view fault = faults.substr(0, end);
    faults.remove_prefix(std::min(fault.size() + 2, faults.size()));
    return fault;
}

std::string Position(std::string_view place, const std::string& line, const std::string& column = "1") {
    return std::string(place) + ":" + line + ":" + (column.empty() ? "1" : column) + ": ";
}

/// Of the last line that is not empty.
std::string EndOf(const ShaderText& text) {
    const std::string_view code = text.code;
    const auto breaks = std::ranges::count(code.substr(0, code.find_last_not_of("\r\n") + 1), '\n');
    return Position(text.place, std::to_string(breaks + 1));
}

class Translation {
public:
    explicit Translation(const SourceNames& names) : names_(names), shader_(names.shader) {}

    void SetShader(std::string name) { shader_ = std::move(name); }

    void Add(const std::string& line) {
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

    /// Each line once: an error in Common or in an include file appears once for each pass.
    std::vector<std::string> Take() {
        EndCandidates();
        std::unordered_set<std::string> seen;
        std::erase_if(lines_, [&](const std::string& line) { return !seen.insert(line).second; });
        return std::move(lines_);
    }

private:
    void AddOfPass(std::string_view pass, std::string_view rest) {
        const ShaderText text = TextOf(pass);
        std::cmatch found;
        std::string_view reason = rest;
        if (Skip(reason, kEmptyChannel, found)) {
            const auto input = std::ranges::find_if(names_.inputs, [&](const InputPlace& place) {
                return place.pass == pass && place.channel == *found[1].first - '0';
            });
            AddLine((input != names_.inputs.end() ? input->place + ": " : Position(text.place, "1")) +
                    "warning: " + std::string(rest.substr(2)));
        } else if (!AddPositioned(text.place, rest) && !AddIncluded(rest)) {
            Skip(rest, ": ");
            AddWithoutPosition(text, rest);
        }
    }

    /// Of the form ":12:5: error: ..." or ":12: ...".
    bool AddPositioned(std::string_view place, std::string_view rest) {
        std::cmatch found;
        const bool any = Skip(rest, kPosition, found);
        if (any) {
            AddMessage(Position(place, found[1], found[2]), rest);
        }
        return any;
    }

    /// Of the form ": Common:12: ..." or ": noise.glsl:12: ...".
    bool AddIncluded(std::string_view rest) {
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
        return names_.texts.empty() && Skip(rest, "Common") && AddPositioned(TextOf("Common").place, rest);
    }

    void AddWithoutPosition(const ShaderText& text, std::string_view message) {
        if (Skip(message, "after the end of " + text.source + " (a brace may be missing): ")) {
            AddMessage(EndOf(text),
                       std::string(message) + " (after the end of the text; a brace may be missing)");
        } else if (Skip(message, "in the module's own lines after " + text.source + ": ")) {
            AddMessage(EndOf(text), message);
        } else if (std::string_view rest = message; TakeSeverity(rest, {}).empty()) {
            AddLine(text.place + ": " + std::string(message));
        } else {
            AddMessage(Position(text.place, "1"), message);
        }
    }

    /// Several faults are separated by commas, each begins with its pass. Those with a position become lines
    /// of their own.
    void AddLoadFailure(std::string_view rest) {
        std::cmatch found;
        if (Skip(rest, kJsonPosition, found)) {
            return AddMessage(Position(shader_, found[1], found[2]), rest);
        }
        if (PassNameAt(rest).empty()) {
            return AddMessage(Position(shader_, "1"), rest);
        }
        std::string others;
        while (!rest.empty()) {
            const std::string_view fault = TakeFault(rest);
            const std::string_view pass = PassNameAt(fault);
            if (fault.substr(pass.size()).starts_with(':')) {
                AddOfPass(pass, fault.substr(pass.size()));
            } else {
                others += (others.empty() ? "" : ", ") + std::string(fault);
            }
        }
        if (!others.empty()) {
            AddLine(std::string(kLoadFailure) + shader_ + ": " + others);
        }
    }

    /// Mesa repeats the error's position for each candidate, and indents it.
    void AddMessage(const std::string& position, std::string_view message) {
        const std::string_view severity = TakeSeverity(message, "error: ");
        if (position != candidatesAt_ || !message.starts_with(' ')) {
            AddLine(position + std::string(severity) + std::string(message));
            candidatesAt_ = message.ends_with(kCandidates) ? position : std::string();
            return;
        }
        const std::size_t first = message.find_first_not_of(' ');
        if (first != message.npos && ++candidates_ <= kShownCandidates) {
            lines_.back().append(candidates_ == 1 ? " " : ", ").append(message.substr(first));
        }
    }

    void AddLine(std::string line) {
        EndCandidates();
        lines_.push_back(std::move(line));
    }

    void EndCandidates() {
        if (candidates_ > kShownCandidates) {
            lines_.back() += " and " + std::to_string(candidates_ - kShownCandidates) + " more";
        }
        candidatesAt_.clear();
        candidates_ = 0;
    }

    ShaderText TextOf(std::string_view pass) const {
        const auto text = std::ranges::find(names_.texts, pass, &ShaderText::source);
        const std::string name(pass);
        return text != names_.texts.end() ? *text : ShaderText{name, shader_ + ": " + name, {}};
    }

    const SourceNames& names_;
    std::string shader_;
    std::vector<std::string> lines_;
    std::string candidatesAt_;  ///< position of the open list of candidates
    int candidates_ = 0;
};

bool IsLoadFailure(const std::string& line) {
    return line.starts_with(kLoadFailure);
}

}  // namespace

std::vector<std::string> EditorLines(const std::vector<std::string>& lines, const SourceNames& names) {
    Translation translation(names);
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        if (names.shader.empty() && (line == lines.begin() || IsLoadFailure(line[-1]))) {
            // The name of a playlist's pick is in the next failure, which is the last of a load's lines.
            const auto failure = std::find_if(line, lines.end(), IsLoadFailure);
            const std::string pick = failure == lines.end() ? "" : failure->substr(kLoadFailure.size());
            translation.SetShader(pick.substr(0, pick.find(": ")));
        }
        translation.Add(*line);
    }
    return translation.Take();
}

}  // namespace pixelforge::preview
