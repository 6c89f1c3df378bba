// Finds file names in shader texts.
#include "preview/documents/shader_source.h"

#include <algorithm>

namespace pixelforge::preview {
namespace {

/// More than any shader needs; each new name is compared with all previous ones.
constexpr std::size_t kMaximumNames = 512;

/// JSON escapes the quotes of an include line and may escape the slashes of a path.
std::string Unescaped(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape =
            text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '"' || text[i + 1] == '/');
        if (!escape) {
            plain += text[i];
        }
    }
    return plain;
}

/// Adds the quoted text after each `mark`; only blanks and colons may precede it.
void AddQuoted(std::string_view text, std::string_view mark, std::vector<std::string>& names) {
    for (std::size_t at = text.find(mark); at != std::string_view::npos && names.size() < kMaximumNames;
         at = text.find(mark, at + 1)) {
        const std::size_t open = text.find_first_not_of(" \t:", at + mark.size());
        if (open == std::string_view::npos || text[open] != '"') {
            continue;
        }
        const std::size_t close = text.find_first_of("\"\n", open + 1);
        if (close == std::string_view::npos || close == open + 1) {
            continue;
        }
        std::string name(text.substr(open + 1, close - open - 1));
        if (std::ranges::find(names, name) == names.end()) {
            names.push_back(std::move(name));
        }
    }
}

}  // namespace

std::vector<std::string> NamedFiles(std::string_view text) {
    const std::string plain = Unescaped(text);
    std::vector<std::string> names;
    AddQuoted(plain, "#include", names);
    AddQuoted(plain, "\"src\"", names);
    AddQuoted(plain, "\"filepath\"", names);
    return names;
}

}  // namespace pixelforge::preview
