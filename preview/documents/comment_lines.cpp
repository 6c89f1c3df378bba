// Parses "//@ iChannel0 picture.png filter=mipmap" and the like.
#include "preview/documents/comment_lines.h"

#include <algorithm>
#include <regex>
#include <span>
#include <utility>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"

namespace pixelforge::preview {
namespace {

constexpr std::string_view kMark = "//@";
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kChannel = "iChannel";

/// The words that name an input other than a picture.
struct Kind {
    std::string_view word;
    std::size_t words;  ///< 2: followed by a buffer's letter or a file
    std::string_view type;
    int id;
};

constexpr Kind kKinds[] = {{"buffer", 2, "buffer", kBufferAId},
                           {"cube", 1, "cubemap", kCubeId},
                           {"cube", 2, "cubemap", 0},
                           {"volume", 2, "volume", 0},
                           {"sound", 1, "music", 0},
                           {"camera", 1, "webcam", 0},
                           {"keyboard", 1, "keyboard", kKeyboardId}};
constexpr const char* kInputs =
    "expected a picture's file name (in quotes if it has blanks), buffer a to buffer d, cube, cube FILE, "
    "volume FILE, keyboard, sound or camera";

struct Setting {
    std::string_view key;
    std::string_view ChannelInput::*field;
    std::vector<std::string_view> values;
    const char* expected;
};

const Setting kSettings[] = {
    {"filter", &ChannelInput::filter, {"nearest", "linear", "mipmap"}, "nearest, linear or mipmap"},
    {"wrap", &ChannelInput::wrap, {"clamp", "repeat"}, "clamp or repeat"},
    {"vflip", &ChannelInput::vflip, {"false", "true"}, "false or true"},
};

constexpr std::pair<std::string_view, std::string CommentLines::*> kProperties[] = {
    {"name", &CommentLines::name},
    {"author", &CommentLines::author},
    {"description", &CommentLines::description},
    {"tags", &CommentLines::tags}};

struct Word {
    std::string_view text;  ///< without quotes
    bool quoted = false;

    bool IsSetting() const { return !quoted && text.find('=') != std::string_view::npos; }
};

using Words = std::span<const Word>;

std::vector<Word> SplitWords(std::string_view line) {
    std::vector<Word> words;
    for (std::size_t at = line.find_first_not_of(kBlanks); at != std::string_view::npos;
         at = line.find_first_not_of(kBlanks, at)) {
        const bool quoted = line[at] == '"';
        const std::size_t start = quoted ? at + 1 : at;
        const std::size_t end =
            std::min(quoted ? line.find('"', start) : line.find_first_of(kBlanks, start), line.size());
        words.push_back({line.substr(start, end - start), quoted});
        at = std::min(quoted ? end + 1 : end, line.size());
    }
    return words;
}

std::string Lower(const Word& word) {
    std::string lower(word.text);
    std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    return lower;
}

/// A document that the user packs and passes on must find its files wherever it is put.
bool LeavesFolder(const std::string& path) {
    static const std::regex outside(R"(^[/\\]|:|(^|[/\\])\.\.([/\\]|$))");
    return std::regex_search(path, outside);
}

/// One comment line. The functions on it throw for its first error.
struct Line {
    const PassFile& file;
    const std::vector<PassFile>& passes;
    const FileExists& exists;
    std::string_view text;
    int number;
    CommentLines& found;
};

void Require(bool valid, const Line& line, const Word& word, const std::string& clause) {
    if (!valid) {
        const auto column = word.text.data() - line.text.data() + (word.quoted ? 0 : 1);
        throw LoadError(line.file.name + ":" + std::to_string(line.number) + ":" + std::to_string(column) +
                        ": error: " + WithoutControls(clause));
    }
}

void RequirePass(const Line& line, const std::string& stem, const Word& word) {
    if (std::ranges::find(line.passes, stem, &PassFile::stem) == line.passes.end()) {
        const std::string name = PassFileName(line.passes[0].name, stem);
        Require(false, line, word, "there is no file " + name.substr(name.find_last_of("/\\") + 1));
    }
}

void ReadFile(const Line& line, const Word& word, ChannelInput& input) {
    const std::string path(word.text);
    const std::string quoted = "\"" + path + "\"";
    Require(!LeavesFolder(path), line, word, "the path " + quoted + " leads out of the shader's folder");
    Require(IsOpenableLocalName(FromUtf8(path)), line, word, quoted + " is not a file name");
    Require(line.exists(path), line, word, "there is no file " + quoted + " in the shader's folder");
    input.src = path;
}

void ReadSource(const Line& line, Words source, ChannelInput& input) {
    const std::string word = source[0].quoted ? std::string() : Lower(source[0]);
    const auto kind = std::ranges::find_if(
        kKinds, [&](const Kind& row) { return row.word == word && row.words == source.size(); });
    const bool known = kind != std::end(kKinds);
    const bool picture = !known && (source[0].quoted || word.find('.') != std::string::npos);
    const std::string_view text(source[0].text.begin(), source.back().text.end());
    Require(known || (picture && source.size() == 1), line, source[0],
            "unknown input \"" + std::string(text) + "\"; " + kInputs);
    if (picture) {
        input.type = "texture";
        input.vflip = "true";
        return ReadFile(line, source[0], input);
    }
    input.type = kind->type;
    input.id = kind->id;
    if (kind->id == kBufferAId) {
        const std::string stem = Lower(source[1]);
        Require(stem.size() == 1 && stem[0] >= 'a' && stem[0] <= 'd', line, source[1],
                "unknown buffer; expected buffer a to buffer d");
        input.id += stem[0] - 'a';
        RequirePass(line, stem, source[1]);
    } else if (kind->id == kCubeId) {
        RequirePass(line, "cube", source[0]);
    } else if (kind->words == 2) {
        ReadFile(line, source[1], input);
    }
}

void ReadSetting(const Line& line, const Word& word, ChannelInput& input) {
    const std::string all(word.text);
    const std::string key = all.substr(0, all.find('='));
    const auto setting = std::ranges::find(kSettings, key, &Setting::key);
    Require(word.IsSetting() && setting != std::end(kSettings), line, word,
            "unknown setting \"" + all + "\"; expected filter, wrap or vflip");
    const std::string text = all.substr(key.size() + 1);
    const auto value = std::ranges::find(setting->values, text);
    Require(value != setting->values.end(), line, word,
            key + " is " + setting->expected + ", not \"" + text + "\"");
    input.*setting->field = *value;
}

void ReadInput(const Line& line, Words words) {
    const std::string key(words[0].text);
    const char digit = key.size() == kChannel.size() + 1 ? key.back() : '?';
    Require(digit >= '0' && digit <= '3', line, words[0],
            key + " does not exist; a pass has iChannel0 to iChannel3");
    Require(line.file.stem != "common", line, words[0], "Common has no inputs of its own");
    ChannelInput& input = line.found.channels[static_cast<std::size_t>(digit - '0')];
    Require(input.line == 0, line, words[0], key + " is already set in line " + std::to_string(input.line));
    input.line = line.number;
    const auto settings = std::ranges::find_if(words, &Word::IsSetting);
    const Words source(words.begin() + 1, settings);
    Require(!source.empty(), line, words[0], key + " lacks its input; " + kInputs);
    ReadSource(line, source, input);
    std::for_each(settings, words.end(), [&](const Word& word) { ReadSetting(line, word, input); });
}

void ReadLine(const Line& line, Words words) {
    const std::string key(words[0].text);
    if (key.starts_with(kChannel)) {
        return ReadInput(line, words);
    }
    const auto property = std::ranges::find(kProperties, key, [](const auto& row) { return row.first; });
    Require(
        property != std::end(kProperties), line, words[0],
        "unknown word \"" + key + "\"; expected iChannel0 to iChannel3, name, author, description or tags");
    const std::string_view value = line.text.substr(line.text.find(key) + key.size());
    const std::size_t first = std::min(value.find_first_not_of(kBlanks), value.size());
    line.found.*property->second = value.substr(first, value.find_last_not_of(kBlanks) + 1 - first);
}

}  // namespace

std::string PassFileName(std::string_view shaderName, std::string_view stem) {
    const std::size_t dot = shaderName.rfind('.');
    return std::string(shaderName.substr(0, dot + 1)) + std::string(stem) +
           std::string(shaderName.substr(dot));
}

CommentLines ReadCommentLines(const PassFile& file, const std::vector<PassFile>& passes,
                              const FileExists& exists) {
    CommentLines found;
    std::string_view rest = file.code;
    for (int number = 1; !rest.empty(); ++number) {
        const std::string_view line = TakeLine(rest);
        const std::size_t start = std::min(line.find_first_not_of(kBlanks), line.size());
        if (!line.substr(start).starts_with(kMark)) {
            continue;
        }
        const std::vector<Word> words = SplitWords(line.substr(start + kMark.size()));
        const std::string error = words.empty() ? "" : FailureOf([&] {
            ReadLine({file, passes, exists, line, number, found}, words);
        });
        if (!error.empty()) {
            found.errors.push_back(error);
        }
    }
    return found;
}

}  // namespace pixelforge::preview
