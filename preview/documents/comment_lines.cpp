// Parses "//@ iChannel0 picture.png filter=mipmap" and the like.
#include "preview/documents/comment_lines.h"

#include <algorithm>
#include <span>

#include "base/file.h"
#include "base/text.h"

namespace pixelforge::preview {
namespace {

constexpr std::string_view kMark = "//@";
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kChannel = "iChannel";
constexpr const char* kInputs =
    "expected a picture's file name, buffer a to buffer d, cube, cube FILE, volume FILE, keyboard, sound or "
    "camera";

/// Units of a document's "src", without the terminator.
constexpr std::size_t kLongestPath = 259;

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

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    return lower;
}

/// A document that the user packs and passes on must find its files wherever it is put.
bool LeavesFolder(std::string_view path) {
    if (path.find(':') != std::string_view::npos || path.find_first_of("/\\") == 0) {
        return true;
    }
    while (!path.empty()) {
        const std::string_view component = path.substr(0, path.find_first_of("/\\"));
        if (component == "..") {
            return true;
        }
        path.remove_prefix(std::min(component.size() + 1, path.size()));
    }
    return false;
}

struct Setting {
    std::string_view key;
    std::string_view ChannelInput::*field;
    std::vector<std::string_view> values;
};

const std::vector<Setting>& Settings() {
    static const std::vector<Setting> settings = {
        {"filter", &ChannelInput::filter, {"nearest", "linear", "mipmap"}},
        {"wrap", &ChannelInput::wrap, {"clamp", "repeat"}},
        {"vflip", &ChannelInput::vflip, {"false", "true"}}};
    return settings;
}

class Reader {
public:
    Reader(const PassFile& file, const std::vector<PassFile>& passes, const FileExists& exists)
        : file_(file), passes_(passes), exists_(exists) {}

    CommentLines Read();

private:
    void ReadLine(Words words);
    void ReadInput(Words words);
    void ReadSource(Words source, ChannelInput& input);
    void ReadFile(const Word& word, std::string_view type, ChannelInput& input);
    void ReadSetting(const Word& word, ChannelInput& input);
    void RequirePass(const std::string& stem, const Word& word);
    std::string* Property(std::string_view key);
    void Fail(const Word& word, const std::string& clause);

    const PassFile& file_;
    const std::vector<PassFile>& passes_;
    const FileExists& exists_;
    CommentLines found_;
    std::string_view line_;
    int lineNumber_ = 0;
};

CommentLines Reader::Read() {
    std::string_view rest = file_.code;
    while (!rest.empty()) {
        line_ = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line_.size() + 1, rest.size()));
        ++lineNumber_;
        const std::size_t start = line_.find_first_not_of(kBlanks);
        if (start != std::string_view::npos && line_.substr(start).starts_with(kMark)) {
            const std::vector<Word> words = SplitWords(line_.substr(start + kMark.size()));
            if (!words.empty()) {
                ReadLine(words);
            }
        }
    }
    return std::move(found_);
}

void Reader::ReadLine(Words words) {
    const Word& key = words[0];
    if (key.text.starts_with(kChannel)) {
        found_.nameInputs = true;
        ReadInput(words);
    } else if (std::string* property = Property(key.text)) {
        const auto start = static_cast<std::size_t>(key.text.end() - line_.begin());
        const std::string_view value = line_.substr(start);
        const std::size_t first = std::min(value.find_first_not_of(kBlanks), value.size());
        *property = value.substr(first, value.find_last_not_of(kBlanks) + 1 - first);
    } else {
        Fail(key, "unknown word \"" + std::string(key.text) +
                      "\"; expected iChannel0 to iChannel3, name, author, description or tags");
    }
}

std::string* Reader::Property(std::string_view key) {
    return key == "name"          ? &found_.name
           : key == "author"      ? &found_.author
           : key == "description" ? &found_.description
           : key == "tags"        ? &found_.tags
                                  : nullptr;
}

void Reader::ReadInput(Words words) {
    const std::string key(words[0].text);
    const char digit = key.size() == kChannel.size() + 1 ? key.back() : '?';
    if (digit < '0' || digit > '3') {
        return Fail(words[0], key + " does not exist; a pass has iChannel0 to iChannel3");
    }
    if (file_.stem == "common") {
        return Fail(words[0], "Common has no inputs of its own");
    }
    int& line = found_.lines[static_cast<std::size_t>(digit - '0')];
    if (line != 0) {
        return Fail(words[0], key + " is already set in line " + std::to_string(line));
    }
    line = lineNumber_;
    const auto settings =
        std::find_if(words.begin() + 1, words.end(), [](auto& word) { return word.IsSetting(); });
    const Words source(words.begin() + 1, settings);
    if (source.empty()) {
        return Fail(words[0], key + " lacks its input; " + kInputs);
    }
    ChannelInput& input = found_.channels[static_cast<std::size_t>(digit - '0')];
    ReadSource(source, input);
    std::for_each(settings, words.end(), [&](const Word& word) { ReadSetting(word, input); });
}

void Reader::ReadSource(Words source, ChannelInput& input) {
    const std::string kind = source[0].quoted ? std::string() : Lower(source[0].text);
    if (kind == "buffer" && source.size() == 2) {
        const std::string stem = Lower(source[1].text);
        if (stem.size() != 1 || stem[0] < 'a' || stem[0] > 'd') {
            return Fail(source[1], "unknown buffer; expected buffer a to buffer d");
        }
        input.type = "buffer";
        input.id = kBufferAId + (stem[0] - 'a');
        RequirePass(stem, source[1]);
    } else if ((kind == "cube" || kind == "volume") && source.size() == 2) {
        ReadFile(source[1], kind == "cube" ? "cubemap" : "volume", input);
    } else if (source.size() != 1) {
        Fail(source[1], std::string("unexpected word; ") + kInputs);
    } else if (kind == "cube") {
        input.type = "cubemap";
        input.id = kCubeId;
        RequirePass("cube", source[0]);
    } else if (kind == "keyboard") {
        input.type = "keyboard";
        input.id = kKeyboardId;
    } else if (kind == "sound" || kind == "camera") {
        input.type = kind == "sound" ? "music" : "webcam";
    } else if (source[0].quoted || kind.find('.') != std::string::npos) {
        input.vflip = "true";
        ReadFile(source[0], "texture", input);
    } else {
        Fail(source[0], "unknown input \"" + kind + "\"; " + kInputs);
    }
}

void Reader::RequirePass(const std::string& stem, const Word& word) {
    if (std::ranges::find(passes_, stem, &PassFile::stem) == passes_.end()) {
        const std::string name = PassFileName(passes_[0].name, stem);
        Fail(word, "there is no file " + name.substr(name.find_last_of("/\\") + 1));
    }
}

void Reader::ReadFile(const Word& word, std::string_view type, ChannelInput& input) {
    const std::string path(word.text);
    const std::wstring wide = FromUtf8(path);
    input.type = type;
    input.src = path;
    if (LeavesFolder(path)) {
        Fail(word, "the path \"" + path + "\" leads out of the shader's folder");
    } else if (!IsOpenableLocalName(wide)) {
        Fail(word, "\"" + path + "\" is not a file name");
    } else if (wide.size() > kLongestPath) {
        Fail(word, "the path is longer than " + std::to_string(kLongestPath) + " characters");
    } else if (!exists_(path)) {
        Fail(word, "there is no file \"" + path + "\" in the shader's folder");
    }
}

void Reader::ReadSetting(const Word& word, ChannelInput& input) {
    const std::size_t equals = std::min(word.text.find('='), word.text.size());
    const auto setting = std::ranges::find(Settings(), word.text.substr(0, equals), &Setting::key);
    if (!word.IsSetting() || setting == Settings().end()) {
        return Fail(word,
                    "unknown setting \"" + std::string(word.text) + "\"; expected filter, wrap or vflip");
    }
    const auto value = std::ranges::find(setting->values, word.text.substr(equals + 1));
    if (value != setting->values.end()) {
        input.*setting->field = *value;
        return;
    }
    std::string expected;
    for (const std::string_view one : setting->values) {
        expected += (expected.empty()                ? ""
                     : one == setting->values.back() ? " or "
                                                     : ", ") +
                    std::string(one);
    }
    Fail(word, std::string(setting->key) + " is " + expected + ", not \"" +
                   std::string(word.text.substr(equals + 1)) + "\"");
}

void Reader::Fail(const Word& word, const std::string& clause) {
    const auto column = word.text.data() - line_.data() + (word.quoted ? 0 : 1);
    std::string error =
        file_.name + ":" + std::to_string(lineNumber_) + ":" + std::to_string(column) + ": error: " + clause;
    // The file's words must not control the terminal.
    std::ranges::replace_if(
        error, [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    found_.errors.push_back(std::move(error));
}

}  // namespace

std::string PassFileName(std::string_view shaderName, std::string_view stem) {
    const std::size_t dot = shaderName.rfind('.');
    return std::string(shaderName.substr(0, dot + 1)) + std::string(stem) +
           std::string(shaderName.substr(dot));
}

CommentLines ReadCommentLines(const PassFile& file, const std::vector<PassFile>& passes,
                              const FileExists& exists) {
    return Reader(file, passes, exists).Read();
}

}  // namespace pixelforge::preview
