// Finds names of files in shader texts.
#include "preview/documents/named_files.h"

#include <algorithm>

namespace pixelforge::preview {
namespace {

/// More than any shader has; each further one would be compared with all before it.
constexpr std::size_t kMostNames = 512;

/// In JSON the quotes of an include line are escaped, and so may be the slashes of a path.
std::string WithoutEscapes(std::string_view text) {
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

/// Adds the quoted text behind each `mark`; only blanks and colons may stand between.
void AddQuoted(std::string_view text, std::string_view mark, std::vector<std::string>& names) {
    for (std::size_t at = text.find(mark); at != std::string_view::npos && names.size() < kMostNames;
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
    const std::string plain = WithoutEscapes(text);
    std::vector<std::string> names;
    AddQuoted(plain, "#include", names);
    AddQuoted(plain, "\"src\"", names);
    AddQuoted(plain, "\"filepath\"", names);
    return names;
}

}  // namespace pixelforge::preview
