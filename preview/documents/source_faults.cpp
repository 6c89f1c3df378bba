// Finds what the module ignores, with its line.
#include "preview/documents/source_faults.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <iterator>
#include <span>

#include "base/file.h"
#include "base/text.h"

namespace pixelforge::preview {
namespace {

using Value = rapidjson::Value;

/// The module's limit.
constexpr std::size_t kLongestIdentifier = 19;

/// Ends recursive includes; the module accepts 60 files in a pass.
constexpr std::size_t kMostTexts = 512;

/// Of a generated playlist, to keep the terminal readable.
constexpr std::size_t kMostPlaylistFaults = 20;

bool IsOneOf(std::string_view text, std::span<const std::string_view> choices) {
    return std::ranges::find(choices, text) != choices.end();
}

bool IsKnownPass(std::string_view type, std::string_view name) {
    constexpr std::string_view kBuffers[] = {"Buffer A", "Buffer B", "Buffer C", "Buffer D",
                                             "Buf A",    "Buf B",    "Buf C",    "Buf D"};
    constexpr std::string_view kCubes[] = {"Cube A", "Cubemap A"};
    return type == "common" || type == "image" || (type == "buffer" && IsOneOf(name, kBuffers)) ||
           (type == "cubemap" && IsOneOf(name, kCubes));
}

/// Messages use the long forms.
std::string FullPassName(std::string_view type, std::string_view name) {
    if (type == "common" || type == "image") {
        return type == "common" ? "Common" : "Image";
    }
    return type == "cubemap" ? "Cube A" : "Buffer " + std::string(name.substr(name.size() - 1));
}

const Value* Member(const Value& object, const char* key) {
    const auto found = object.IsObject() ? object.FindMember(key) : Value::ConstMemberIterator();
    return object.IsObject() && found != object.MemberEnd() ? &found->value : nullptr;
}

std::string_view Text(const Value* value) {
    return value && value->IsString() ? std::string_view(value->GetString(), value->GetStringLength())
                                      : std::string_view();
}

/// Parsed in place, so that each text's address is its position.
class DocumentCheck {
public:
    DocumentCheck(std::string_view document, SourceNames& names)
        : document_(document), buffer_(document), names_(names) {
        constexpr unsigned kFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;
        tree_.ParseInsitu<kFlags>(buffer_.data());
    }

    std::vector<std::string> Run();

private:
    void CheckPass(const Value& pass);
    void CheckInput(const Value& input, const std::string& pass);
    std::string PlaceOf(const Value* text) const;
    void Warn(const std::string& place, const std::string& clause) {
        faults_.push_back(place + ": warning: " + WithoutControls(clause));
    }

    std::string_view document_;
    std::string buffer_;
    rapidjson::Document tree_;
    SourceNames& names_;
    std::vector<std::string> faults_;
};

std::vector<std::string> DocumentCheck::Run() {
    if (tree_.HasParseError()) {
        return {};  // the module reports it
    }
    const Value* root = &tree_;
    const Value& first = root->IsArray() && !root->Empty() ? (*root)[0] : *root;
    const Value* shader = Member(first, "Shader");
    const Value* passes = Member(shader ? *shader : first, "renderpass");
    if (passes && passes->IsArray()) {
        for (const Value& pass : passes->GetArray()) {
            CheckPass(pass);
        }
    }
    return std::move(faults_);
}

void DocumentCheck::CheckPass(const Value& pass) {
    const Value* type = Member(pass, "type");
    const Value* name = Member(pass, "name");
    const Value* inputs = Member(pass, "inputs");
    if (!IsKnownPass(Text(type), Text(name))) {
        return Warn(PlaceOf(type),
                    "the pass \"" + std::string(Text(name)) + "\" of type \"" + std::string(Text(type)) +
                        "\" is ignored: " +
                        (Text(type) == "sound" ? "the module plays no sound" : "unknown name or type"));
    }
    const std::string fullName = FullPassName(Text(type), Text(name));
    // Of two passes with one name the module uses the later.
    std::erase_if(names_.texts, [&](const ShaderText& text) { return text.source == fullName; });
    names_.texts.push_back(
        {fullName, names_.shader + ": " + fullName, std::string(Text(Member(pass, "code")))});
    if (inputs && inputs->IsArray()) {
        for (const Value& input : inputs->GetArray()) {
            CheckInput(input, fullName);
        }
    }
}

void DocumentCheck::CheckInput(const Value& input, const std::string& pass) {
    constexpr std::string_view kKinds[] = {"buffer", "texture", "cubemap", "volume",      "keyboard",
                                           "webcam", "audio",   "music",   "musicstream", "mic"};
    const Value* own = Member(input, "ctype");
    const Value* kind = own ? own : Member(input, "type");
    const Value* number = Member(input, "channel");
    const double channel = number && number->IsNumber() ? number->GetDouble() : -1.0;
    const std::string place = PlaceOf(kind);
    const bool exists = channel >= 0.0 && channel < 4.0;
    if (!exists) {
        Warn(place, pass + ": an input on a channel outside 0 to 3 is ignored");
    } else if (!IsOneOf(Text(kind), kKinds)) {
        Warn(place, pass + ", iChannel" + std::to_string(static_cast<int>(channel)) +
                        ": inputs of the unknown kind \"" + std::string(Text(kind)) +
                        "\" are ignored, and the channel is not declared");
    } else {
        names_.inputs.push_back({pass, static_cast<int>(channel), std::string(Text(kind)), place});
    }
}

/// "FILE:LINE:COLUMN" of the text's opening quote; of the document if there is no text.
std::string DocumentCheck::PlaceOf(const Value* text) const {
    const bool found = text && text->IsString() && text->GetString() > buffer_.data() &&
                       text->GetString() <= buffer_.data() + buffer_.size();
    const auto offset = found ? static_cast<std::size_t>(text->GetString() - buffer_.data()) - 1 : 0;
    const std::string_view before = document_.substr(0, offset);
    const std::size_t lineStart = before.rfind('\n') + 1;
    return names_.shader + ":" + std::to_string(1 + std::ranges::count(before, '\n')) + ":" +
           std::to_string(offset - lineStart + 1);
}

// Include lines.

/// The name in a line that the module takes for an include directive; empty for any other line.
std::string_view IncludedNameIn(std::string_view line) {
    constexpr std::string_view kKeyword = "#include";
    const std::size_t open = line.find_first_not_of(" \t", kKeyword.size());
    if (!line.starts_with(kKeyword) || open == line.npos || open == kKeyword.size() || line[open] != '"') {
        return {};
    }
    const std::size_t close = line.find('"', open + 1);
    return close == line.npos ? std::string_view() : line.substr(open + 1, close - open - 1);
}

std::string Joined(const std::string& folder, const std::string& name) {
    const bool separated = folder.empty() || folder.ends_with('/') || folder.ends_with('\\');
    return folder + (separated ? "" : "/") + name;
}

/// As the user would write the path of a file that the shader names relative to its own folder.
std::string BesideShader(const SourceNames& names, const std::string& name) {
    const bool absolute = name.starts_with('/') || name.starts_with('\\') || name.find(':') != name.npos;
    const std::string folder = names.shader.substr(0, names.shader.find_last_of("/\\") + 1);
    return absolute ? name : folder + name;
}

/// Whether a block comment is open after the line. Like the module, it finds one even after "//".
bool InCommentAfter(std::string_view line, bool inComment) {
    std::size_t at = line.find(inComment ? "*/" : "/*");
    while (at != line.npos) {
        inComment = !inComment;
        at = line.find(inComment ? "*/" : "/*", at + 2);
    }
    return inComment;
}

/// Walks through the texts; each included file is appended to them.
class IncludeCheck {
public:
    explicit IncludeCheck(SourceNames& names) : names_(names) {}

    std::vector<std::string> Run();

private:
    void CheckText(const ShaderText& text);
    bool IsKnown(const std::string& source) const;
    bool Add(const std::string& source, const std::string& place);
    bool Find(const std::string& name);
    std::string Missing(const std::string& name) const;

    SourceNames& names_;
    std::vector<std::string> faults_;
};

std::vector<std::string> IncludeCheck::Run() {
    for (std::size_t i = 0; i < names_.texts.size(); ++i) {
        CheckText(ShaderText(names_.texts[i]));
    }
    return std::move(faults_);
}

void IncludeCheck::CheckText(const ShaderText& text) {
    std::string_view rest = text.code;
    bool inComment = false;
    for (int number = 1; !rest.empty(); ++number) {
        const std::string_view line = TakeLine(rest);
        const std::string name(inComment ? std::string_view() : IncludedNameIn(line));
        if (!name.empty() && !Find(name)) {
            faults_.push_back(text.place + ":" + std::to_string(number) + ":1: warning: " + Missing(name));
        }
        inComment = InCommentAfter(line, inComment);
    }
}

/// The module's own texts and passes have names, too.
bool IncludeCheck::IsKnown(const std::string& source) const {
    return source == "PREFIX" || source == "SUFFIX" ||
           std::ranges::any_of(names_.texts, [&](const ShaderText& text) {
               return EqualIgnoringAsciiCase(FromUtf8(text.source), FromUtf8(source));
           });
}

bool IncludeCheck::Add(const std::string& source, const std::string& place) {
    std::uint32_t size = 0;
    const HeapBytes bytes =
        names_.texts.size() < kMostTexts ? ReadWholeFile(FromUtf8(source).c_str(), &size) : HeapBytes();
    if (bytes) {
        names_.texts.push_back(
            {source, place, std::string(reinterpret_cast<const char*>(bytes.get()), size)});
    }
    return static_cast<bool>(bytes);
}

bool IncludeCheck::Find(const std::string& name) {
    const std::string inFolder = names_.includeFolder + "\\" + name;
    if (IsKnown(name) || IsKnown(inFolder)) {
        return true;
    }
    return IsOpenableLocalName(FromUtf8(name)) &&
           (Add(name, BesideShader(names_, name)) ||
            (!names_.includeFolder.empty() && Add(inFolder, Joined(names_.includeName, name))));
}

std::string IncludeCheck::Missing(const std::string& name) const {
    const std::string missing = "no include file \"" + WithoutControls(name) + "\"; ";
    if (!IsOpenableLocalName(FromUtf8(name))) {
        return missing + "the module does not open such a name";
    }
    return missing + "looked for " + BesideShader(names_, name) +
           (names_.includeFolder.empty() ? "; no include folder is set"
                                         : " and " + Joined(names_.includeName, name));
}

std::string LineFault(std::string_view line, bool ended) {
    if (line.empty()) {
        return "the empty line is skipped";
    }
    if (!ended) {
        return "the last line has no line break, so it is ignored";
    }
    const auto wide = Widen(line, TextEncoding::AnsiCodePage);
    return wide && wide->size() <= kLongestIdentifier
               ? std::string()
               : "the line is longer than 19 characters, so a load that picks it fails";
}

}  // namespace

std::vector<std::string> DocumentFaults(std::string_view document, SourceNames& names) {
    return DocumentCheck(document, names).Run();
}

std::vector<std::string> MissingIncludes(SourceNames& names) {
    return IncludeCheck(names).Run();
}

std::vector<std::string> PlaylistFaults(std::string_view playlist, const std::string& name) {
    std::vector<std::string> faults;
    std::size_t left = 0;
    const auto warn = [&](int line, const std::string& clause) {
        if (faults.size() == kMostPlaylistFaults) {
            ++left;
        } else {
            faults.push_back(name + ":" + std::to_string(line) + ":1: warning: " + clause);
        }
    };
    for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
        if (playlist.starts_with(mark)) {
            warn(1, "the byte-order mark becomes part of the first line; save the playlist without it");
        }
    }
    std::string text(playlist.size() + 1, '\0');
    NormalizeLineEnds(std::string(playlist).c_str(), text.data(), text.size());
    text.resize(text.find('\0'));
    std::string_view rest = text;
    for (int line = 1; !rest.empty(); ++line) {
        const bool ended = rest.find('\n') != rest.npos;
        if (const std::string fault = LineFault(TakeLine(rest), ended); !fault.empty()) {
            warn(line, fault);
        }
    }
    if (left > 0) {
        faults.push_back(name + ": " + std::to_string(left) + " more lines like these");
    }
    return faults;
}

}  // namespace pixelforge::preview
