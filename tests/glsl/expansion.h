// Expands texts with the product and, for comparison, literally, with searches at every step.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"

namespace pixelforge {

using fuzz::ExactText;

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
        const bool ends = at(p) == '/' && at(p - 1) == '*';
        const bool begins = at(p) == '*' && at(p - 1) == '/';
        flag = begins || (flag && !ends);
        if ((ends && at(p - 2) == '\n') || (!flag && at(p) == '\n')) {
            break;
        }
        p -= ends || begins ? 3 : 1;
    }
    return flag;
}

/// The product resolves names: only the walk through the text is compared.
struct LiteralExpansion {
    IncludeContext& context;
    std::string output = {};

    bool Expand(std::string text, std::uint32_t depth) {
        text.append(16, '\0');
        std::size_t cursor = 0;
        bool insideComment = false;
        while (text[cursor] != '\0') {
            if (insideComment || !IsDirective(text, cursor)) {
                output += text[cursor++];
            } else if (ExpandDirective(text, cursor, depth)) {
                cursor = text.find_first_of(std::string_view("\n\0", 2), cursor);
                cursor += text[cursor] == '\n' ? 1 : 0;
            } else {
                return false;
            }
            insideComment = IsInsideComment(text, static_cast<std::ptrdiff_t>(cursor), insideComment);
        }
        return true;
    }

    bool ExpandDirective(const std::string& text, std::size_t cursor, std::uint32_t depth) {
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
        entry->depth = depth;
        entry->firstLine = Line();
        const bool expanded = Expand(included.get(), depth + 1);
        entry->endLine = expanded ? Line() : 0;
        return expanded;
    }

    std::uint32_t Line() const { return 1 + static_cast<std::uint32_t>(std::ranges::count(output, '\n')); }
};

/// The output, or "failed", and the included names, each with its depth and lines: by the product or
/// literally, with the texts registered in `context` and an empty included list.
inline std::pair<std::string, std::wstring> Expanded(IncludeContext& context, const std::string& text,
                                                     bool literally) {
    context.includedCount = 0;
    context.unknownNames.clear();
    LiteralExpansion literal = {context};
    GrowBuffer output;
    std::uint32_t line = 1;
    const bool success = literally ? literal.Expand(text, 0)
                                   : PreprocessIncludes(context, ExactText(text).get(), &output, line, 0);
    literal.output.append(reinterpret_cast<const char*>(output.data.get()), output.count);
    std::wstring names;
    for (std::int32_t i = 0; i < context.includedCount; ++i) {
        const IncludedName& entry = context.included[i];
        names += entry.name;
        for (const std::uint32_t number : {entry.depth, entry.firstLine, entry.endLine}) {
            names += L'|' + std::to_wstring(number);
        }
    }
    return {success ? literal.output : "failed", names};
}

}  // namespace pixelforge
