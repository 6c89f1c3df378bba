// Both expansions. The literal one searches for line starts, comments and arguments at every step.
#include "tests/glsl/expansion.h"

#include "base/text.h"

namespace pixelforge {
namespace {

constexpr std::size_t kPadding = 16;  ///< NULs after the text, more than any look-ahead

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::size_t SkipBlanks(const std::string& text, std::size_t at) {
    while (IsBlank(text[at])) {
        ++at;
    }
    return at;
}

bool IsDirective(const std::string& text, std::size_t cursor) {
    while (cursor > 0 && text[cursor - 1] != '\n') {
        --cursor;
    }
    const std::size_t start = SkipBlanks(text, cursor);
    return text.compare(start, 8, "#include") == 0 && IsBlank(text[start + 8]);
}

bool Expand(IncludeContext& context, std::string text, std::uint32_t depth, ExpandedText& result);

/// The product resolves names: only the walk through the text is compared.
bool ExpandDirective(IncludeContext& context, const std::string& text, std::size_t cursor,
                     std::uint32_t depth, ExpandedText& result) {
    const std::size_t open = SkipBlanks(text, cursor + 8);
    const std::size_t close = text[open] == '"' ? text.find('"', open + 1) : std::string::npos;
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
    entry->firstLine = result.line;
    entry->depth = depth;
    if (!Expand(context, included.get(), depth + 1, result)) {
        return false;
    }
    entry->endLine = result.line;
    return true;
}

bool Expand(IncludeContext& context, std::string text, std::uint32_t depth, ExpandedText& result) {
    text.append(kPadding, '\0');
    std::size_t cursor = 0;
    bool insideComment = false;
    while (text[cursor] != '\0') {
        if (!insideComment && IsDirective(text, cursor)) {
            if (!ExpandDirective(context, text, cursor, depth, result)) {
                return false;
            }
            while (text[cursor] != '\0' && text[cursor] != '\n') {
                ++cursor;
            }
            cursor += text[cursor] == '\n' ? 1 : 0;
        } else {
            result.output += text[cursor];
            result.line += text[cursor] == '\n' ? 1 : 0;
            ++cursor;
        }
        insideComment = InsideCommentLiterally(text, static_cast<std::ptrdiff_t>(cursor), insideComment);
    }
    return true;
}

void BeginRun(IncludeContext& context) {
    context.includedCount = 0;
    context.unknownNames.clear();
}

void ListNames(const IncludeContext& context, std::wstring& names) {
    for (std::int32_t i = 0; i < context.includedCount; ++i) {
        const IncludedName& entry = context.included[i];
        names += entry.name;
        for (const std::uint32_t number : {entry.depth, entry.firstLine, entry.endLine}) {
            names += L'|' + std::to_wstring(number);
        }
    }
}

}  // namespace

HeapText CopyText(std::string_view text) {
    HeapText copy = AllocateHeapText(text.size() + 1);
    text.copy(copy.get(), text.size());
    return copy;
}

ExpandedText ExpandedByProduct(IncludeContext& context, std::string_view text) {
    BeginRun(context);
    GrowBuffer output;
    ExpandedText result;
    result.success = PreprocessIncludes(context, CopyText(text).get(), &output, result.line, 0);
    result.output.assign(reinterpret_cast<const char*>(output.data.get()), output.count);
    ListNames(context, result.names);
    return result;
}

ExpandedText ExpandedLiterally(IncludeContext& context, const std::string& text) {
    BeginRun(context);
    ExpandedText result;
    result.success = Expand(context, text, 0, result);
    ListNames(context, result.names);
    return result;
}

bool InsideCommentLiterally(const std::string& text, std::ptrdiff_t p, bool flag) {
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

}  // namespace pixelforge
