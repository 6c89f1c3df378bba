// The expansion written down step by step: every line start, comment and argument is searched anew.
#include "tests/glsl/literal_preprocessor.h"

#include "base/text.h"

namespace pixelforge::literal {

namespace {

constexpr std::size_t kPadding = 16;  ///< NULs behind the text, more than any look-ahead

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool IsDirective(const std::string& text, std::size_t cursor) {
    std::size_t start = cursor;
    while (start > 0 && text[start - 1] != '\n') {
        --start;
    }
    while (IsBlank(text[start])) {
        ++start;
    }
    return text.compare(start, 8, "#include") == 0 && IsBlank(text[start + 8]);
}

bool ExpandDirective(IncludeContext& context, const std::string& text, std::size_t cursor,
                     Expansion& expansion, std::uint32_t depth) {
    std::size_t open = cursor + 8;
    while (IsBlank(text[open])) {
        ++open;
    }
    if (text[open] != '"') {
        return false;
    }
    const std::size_t close = text.find('"', open + 1);
    if (close == std::string::npos) {
        return false;
    }
    const std::string narrow = text.substr(open + 1, close - open - 1);
    const auto name = Widen(narrow, IsValidUtf8(narrow) ? TextEncoding::Utf8 : TextEncoding::AnsiCodePage);
    if (!name || name->size() + 1 > 260) {
        return false;
    }
    std::uint32_t length = 0;
    IncludedName* entry = nullptr;
    std::int32_t error = 0;
    const HeapText included = ResolveInclude(context, name->c_str(), &length, &entry, &error);
    if (!included) {
        return error == 0;
    }
    entry->firstLine = expansion.line;
    entry->depth = depth;
    if (!Expand(context, included.get(), expansion, depth + 1)) {
        return false;
    }
    entry->endLine = expansion.line;
    return true;
}

}  // namespace

bool InsideComment(const std::string& text, std::ptrdiff_t p, bool flag) {
    const auto at = [&text](std::ptrdiff_t i) { return i < 0 ? '\0' : text[static_cast<std::size_t>(i)]; };
    while (p > 0) {
        if (at(p) == '/' && at(p - 1) == '*') {
            flag = false;
            if (at(p - 2) == '\n') {
                break;
            }
            p -= 3;
        } else if (at(p) == '*' && at(p - 1) == '/') {
            flag = true;
            p -= 3;
        } else if (flag) {
            p -= 1;
        } else if (at(p) == '\n') {
            break;
        } else {
            p -= 1;
        }
    }
    return flag;
}

bool Expand(IncludeContext& context, std::string text, Expansion& expansion, std::uint32_t depth) {
    text.append(kPadding, '\0');
    std::size_t cursor = 0;
    bool insideComment = false;
    while (text[cursor] != '\0') {
        if (!insideComment && IsDirective(text, cursor)) {
            if (!ExpandDirective(context, text, cursor, expansion, depth)) {
                return false;
            }
            while (text[cursor] != '\0' && text[cursor] != '\n') {
                ++cursor;
            }
            if (text[cursor] == '\n') {
                ++cursor;
            }
        } else {
            expansion.output += text[cursor];
            if (text[cursor] == '\n') {
                ++expansion.line;
            }
            ++cursor;
        }
        insideComment = InsideComment(text, static_cast<std::ptrdiff_t>(cursor), insideComment);
    }
    return true;
}

}  // namespace pixelforge::literal
