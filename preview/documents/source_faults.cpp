// Finds what the module ignores, with its line.
#include "preview/documents/source_faults.h"

#include <rapidjson/pointer.h>

#include <algorithm>
#include <iterator>
#include <regex>

#include "base/file.h"
#include "base/text.h"
#include "preview/documents/document_conversion.h"
#include "preview/host/playlist_lines.h"

namespace pixelforge::preview {
namespace {

using Value = rapidjson::Value;

/// Ends recursive includes; the module accepts 60 files in a pass.
constexpr std::size_t kMostTexts = 512;
constexpr std::size_t kMostPlaylistFaults = 20;

/// The pass's name in messages, which use the long forms; empty if the module ignores it.
std::string KnownPass(std::string_view type, const std::string& name) {
    static const std::regex buffer("Buf(fer)? [A-D]");
    if (type == "common" || type == "image") {
        return type == "common" ? "Common" : "Image";
    }
    if (type == "buffer" && std::regex_match(name, buffer)) {
        return "Buffer " + name.substr(name.size() - 1);
    }
    return type == "cubemap" && (name == "Cube A" || name == "Cubemap A") ? "Cube A" : "";
}

/// A document that is being checked.
struct Check {
    std::string_view document;
    std::string buffer;  ///< parsed in place, so that each text's address is its position
    SourceNames& names;
    std::vector<std::string> faults = {};
};

/// "FILE:LINE:COLUMN" of the text's opening quote; of the document if there is no text.
std::string PlaceOf(const Check& check, std::string_view text) {
    const std::string& buffer = check.buffer;
    const bool found = text.data() > buffer.data() && text.data() <= buffer.data() + buffer.size();
    const auto offset = found ? static_cast<std::size_t>(text.data() - buffer.data()) - 1 : 0;
    const std::string_view before = check.document.substr(0, offset);
    return check.names.shader + ":" + std::to_string(1 + std::ranges::count(before, '\n')) + ":" +
           std::to_string(offset - before.rfind('\n'));
}

void CheckInput(const Value& input, const std::string& pass, Check& check) {
    constexpr std::string_view kKinds[] = {"buffer", "texture", "cubemap", "volume",      "keyboard",
                                           "webcam", "audio",   "music",   "musicstream", "mic"};
    const bool bare = !input.HasMember("ctype");
    const std::string kind(TextAt(input, bare ? "/type" : "/ctype"));
    const Value* number = rapidjson::GetValueByPointer(input, "/channel");
    const double channel = number && number->IsNumber() ? number->GetDouble() : -1.0;
    const std::string place = PlaceOf(check, TextAt(input, bare ? "/type" : "/ctype"));
    const std::string start = place + ": warning: " + pass;
    if (!(channel >= 0.0 && channel < 4.0)) {
        check.faults.push_back(start + ": an input on a channel outside 0 to 3 is ignored");
    } else if (std::ranges::find(kKinds, kind) == std::end(kKinds)) {
        check.faults.push_back(start + ", iChannel" + std::to_string(static_cast<int>(channel)) +
                               ": inputs of the unknown kind \"" + WithoutControls(kind) +
                               "\" are ignored, and the channel is not declared");
    } else {
        check.names.inputs.push_back({pass, static_cast<int>(channel), kind, place,
                                      std::string(TextAt(input, bare ? "/filepath" : "/src"))});
    }
}

void CheckPass(const Value& pass, Check& check) {
    const std::string_view type = TextAt(pass, "/type");
    const std::string name(TextAt(pass, "/name"));
    const std::string fullName = KnownPass(type, name);
    SourceNames& names = check.names;
    if (fullName.empty()) {
        check.faults.push_back(PlaceOf(check, type) + ": warning: the pass \"" + WithoutControls(name) +
                               "\" of type \"" + WithoutControls(type) + "\" is ignored: " +
                               (type == "sound" ? "the module plays no sound" : "unknown name or type"));
        return;
    }
    // Of two passes with one name the module uses the later.
    std::erase_if(names.texts, [&](const ShaderText& text) { return text.source == fullName; });
    names.texts.push_back({fullName, names.shader + ": " + fullName, std::string(TextAt(pass, "/code"))});
    for (const Value* input : ObjectsAt(pass, "/inputs")) {
        CheckInput(*input, fullName, check);
    }
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

/// As the user would write the path of a file that the shader names relative to its own folder.
std::string BesideShader(const SourceNames& names, const std::string& name) {
    const bool absolute = name.starts_with('/') || name.starts_with('\\') || name.find(':') != name.npos;
    return absolute ? name : names.shader.substr(0, names.shader.find_last_of("/\\") + 1) + name;
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

/// The module's own texts and passes have names, too.
bool IsKnown(const SourceNames& names, const std::string& source) {
    return source == "PREFIX" || source == "SUFFIX" ||
           std::ranges::any_of(names.texts, [&](const ShaderText& text) {
               return EqualIgnoringAsciiCase(FromUtf8(text.source), FromUtf8(source));
           });
}

/// False if there is no such file.
bool AddText(SourceNames& names, const std::string& source, const std::string& place) {
    std::uint32_t size = 0;
    const HeapBytes bytes =
        names.texts.size() < kMostTexts ? ReadWholeFile(FromUtf8(source).c_str(), &size) : HeapBytes();
    if (bytes) {
        names.texts.push_back({source, place, std::string(reinterpret_cast<const char*>(bytes.get()), size)});
    }
    return static_cast<bool>(bytes);
}

/// Adds the included file to the texts; else why there is none.
std::string AddIncluded(SourceNames& names, const std::string& name) {
    const std::string inFolder = names.includeFolder + "\\" + name;
    const std::string missing = "no include file \"" + WithoutControls(name) + "\"; ";
    if (IsKnown(names, name) || IsKnown(names, inFolder)) {
        return {};
    }
    if (!IsOpenableLocalName(FromUtf8(name))) {
        return missing + "the module does not open such a name";
    }
    names.includes.push_back(name);
    const std::string beside = BesideShader(names, name);
    const std::string& folder = names.includeName;
    const std::string joined = folder + (folder.ends_with('/') || folder.ends_with('\\') ? "" : "/") + name;
    if (AddText(names, name, beside) || (!names.includeFolder.empty() && AddText(names, inFolder, joined))) {
        return {};
    }
    return missing + "looked for " + beside +
           (names.includeFolder.empty() ? "; no include folder is set" : " and " + joined);
}

/// Empty for a line that can be picked.
std::string LineFault(std::string_view line, bool ended) {
    const auto wide = Widen(line, TextEncoding::AnsiCodePage);
    const std::wstring utf8 = FromUtf8(line);  // empty if it is not
    return line.empty() ? "the empty line is skipped"
           : !ended     ? "the last line has no line break, so it is ignored"
           : !wide || wide->size() > kLongestPlaylistLine
               ? "the line is longer than 19 characters, so a load that picks it fails"
           : !utf8.empty() && utf8 != wide && utf8[0] != L'\uFEFF'
               ? "the line is UTF-8, but the module reads it in the system's ANSI code page"
               : "";
}

}  // namespace

std::vector<std::string> DocumentFaults(std::string_view document, SourceNames& names) {
    Check check = {document, std::string(document), names};
    rapidjson::Document tree;
    tree.ParseInsitu<rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag>(check.buffer.data());
    // The module reports what does not parse.
    for (const char* passes : {"/Shader/renderpass", "/renderpass", "/0/renderpass"}) {
        for (const Value* pass : ObjectsAt(tree, passes)) {
            CheckPass(*pass, check);
        }
    }
    return std::move(check.faults);
}

std::vector<std::string> MissingIncludes(SourceNames& names) {
    std::vector<std::string> faults;
    // Each included file is appended to the texts.
    for (std::size_t i = 0; i < names.texts.size(); ++i) {
        const ShaderText text = names.texts[i];
        std::string_view rest = text.code;
        bool inComment = false;
        for (int number = 1; !rest.empty(); ++number) {
            const std::string_view line = TakeLine(rest);
            const std::string name(inComment ? std::string_view() : IncludedNameIn(line));
            const std::string fault = name.empty() ? std::string() : AddIncluded(names, name);
            if (!fault.empty()) {
                faults.push_back(text.place + ":" + std::to_string(number) + ":1: warning: " + fault);
            }
            inComment = InCommentAfter(line, inComment);
        }
    }
    return faults;
}

std::vector<std::string> PlaylistFaults(std::string_view playlist, const std::string& name) {
    std::vector<std::string> faults;
    const auto warn = [&](int line, const std::string& clause) {
        faults.push_back(name + ":" + std::to_string(line) + ":1: warning: " + clause);
    };
    for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
        if (playlist.starts_with(mark)) {
            warn(1, "the byte-order mark becomes part of the first line; save the playlist without it");
        }
    }
    std::string text(playlist);
    NormalizeLineEnds(text.c_str(), text.data(), text.size() + 1);
    std::string_view rest = text.c_str();
    for (int line = 1; !rest.empty() && faults.size() < kMostPlaylistFaults; ++line) {
        const bool ended = rest.find('\n') != rest.npos;
        if (const std::string fault = LineFault(TakeLine(rest), ended); !fault.empty()) {
            warn(line, fault);
        }
    }
    return faults;
}

}  // namespace pixelforge::preview
