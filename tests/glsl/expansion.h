// Expands texts with the product and, for comparison, literally, with searches at every step.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/text.h"
#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"

namespace pixelforge {

using fuzz::ExactText;

struct ExpandedText {
    bool success = false;
    std::string output;
    std::uint32_t line = 1;
    std::wstring names;  ///< included names, each with its depth and lines

    bool operator==(const ExpandedText&) const = default;
};

/// The text ends in more NULs than any look-ahead.
inline bool IsDirective(const std::string& text, std::size_t cursor) {
    const std::size_t newline = cursor == 0 ? std::string::npos : text.rfind('\n', cursor - 1);
    const std::size_t start = text.find_first_not_of(" \t", newline + 1);  // 0 without a newline
    return text.compare(start, 8, "#include") == 0 && (text[start + 8] == ' ' || text[start + 8] == '\t');
}

/// The backward scan from position `p`.
inline bool IsInsideComment(const std::string& text, std::ptrdiff_t p, bool flag) {
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
        } else if (!flag && at(p) == '\n') {
            break;
        } else {
            p -= 1;
        }
    }
    return flag;
}

inline bool Expand(IncludeContext& context, std::string text, std::uint32_t depth, ExpandedText& result);

/// The product resolves names: only the walk through the text is compared.
inline bool ExpandDirective(IncludeContext& context, const std::string& text, std::size_t cursor,
                            std::uint32_t depth, ExpandedText& result) {
    const std::size_t open = text.find_first_not_of(" \t", cursor + 8);
    const std::size_t close = text.find('"', open + 1);
    const std::string narrow = text.substr(open + 1, close - open - 1);
    const auto name = Widen(narrow, DetectEncoding(narrow));
    if (text[open] != '"' || close == std::string::npos || !name || name->size() > 259) {
        return false;
    }
    std::uint32_t length = 0;
    IncludedName* entry = nullptr;
    std::int32_t error = 0;
    const HeapText included = ResolveInclude(context, name->c_str(), &length, &entry, &error);
    if (!included) {
        return error == 0;
    }
    entry->firstLine = result.line;
    entry->depth = depth;
    const bool expanded = Expand(context, included.get(), depth + 1, result);
    entry->endLine = expanded ? result.line : 0;
    return expanded;
}

inline bool Expand(IncludeContext& context, std::string text, std::uint32_t depth, ExpandedText& result) {
    text.append(16, '\0');
    std::size_t cursor = 0;
    bool insideComment = false;
    while (text[cursor] != '\0') {
        if (!insideComment && IsDirective(text, cursor)) {
            if (!ExpandDirective(context, text, cursor, depth, result)) {
                return false;
            }
            cursor = text.find_first_of(std::string_view("\n\0", 2), cursor);
            cursor += text[cursor] == '\n' ? 1 : 0;
        } else {
            result.line += text[cursor] == '\n' ? 1 : 0;
            result.output += text[cursor++];
        }
        insideComment = IsInsideComment(text, static_cast<std::ptrdiff_t>(cursor), insideComment);
    }
    return true;
}

/// By the product or literally, with the texts registered in `context` and an empty included list.
inline ExpandedText Expanded(IncludeContext& context, const std::string& text, bool literally) {
    context.includedCount = 0;
    context.unknownNames.clear();
    ExpandedText result;
    if (literally) {
        result.success = Expand(context, text, 0, result);
    } else {
        GrowBuffer output;
        result.success = PreprocessIncludes(context, ExactText(text).get(), &output, result.line, 0);
        result.output.assign(reinterpret_cast<const char*>(output.data.get()), output.count);
    }
    for (std::int32_t i = 0; i < context.includedCount; ++i) {
        const IncludedName& entry = context.included[i];
        result.names += entry.name;
        for (const std::uint32_t number : {entry.depth, entry.firstLine, entry.endLine}) {
            result.names += L'|' + std::to_wstring(number);
        }
    }
    return result;
}

}  // namespace pixelforge
