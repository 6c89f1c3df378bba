// Copies a text and puts the named texts in place of its `#include` lines.
#include "glsl/include_preprocessor.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "glsl/comment_scan.h"
#include "glsl/line_map.h"

namespace pixelforge {

namespace {

constexpr std::string_view kKeyword = "#include";

/// Characters that stay in the processor's cache between the steps of copying them.
constexpr std::size_t kMostAtOnce = 4096;

const char* SkipBlanks(const char* text) noexcept {
    while (*text == ' ' || *text == '\t') {
        ++text;
    }
    return text;
}

/// True when the line holds nothing but blanks before the keyword and a blank behind it.
bool IsDirectiveLine(const char* line) noexcept {
    line = SkipBlanks(line);
    return std::strncmp(line, kKeyword.data(), kKeyword.size()) == 0 &&
           (line[kKeyword.size()] == ' ' || line[kKeyword.size()] == '\t');
}

/// The quoted text, looked for eight characters behind the cursor and not behind the keyword: only a
/// directive in column one has its name there. Nothing when no quote stands there or none follows.
std::optional<std::string_view> FindQuotedName(const char* cursor) noexcept {
    if (std::memchr(cursor, '\0', kKeyword.size()) != nullptr) {
        return std::nullopt;
    }
    const char* quote = SkipBlanks(cursor + kKeyword.size());
    const char* name = quote + 1;
    const char* end = *quote == '"' ? std::strchr(name, '"') : nullptr;
    if (!end) {
        return std::nullopt;
    }
    return std::string_view(name, static_cast<std::size_t>(end - name));
}

/// Documents arrive as UTF-8 when they were valid UTF-8, so a name in one is read the same way.
bool WidenName(std::string_view narrow, wchar_t (&name)[kPathUnits]) {
    const std::optional<std::wstring> wide = Widen(narrow, DetectEncoding(narrow));
    if (!wide || wide->size() + 1 > kPathUnits) {
        return false;
    }
    CopyCut(name, *wide);
    return true;
}

/// What all texts of one run share.
struct Run {
    IncludeContext& context;
    GrowBuffer* output;
    std::uint32_t& line;
    LineMap* lines;

    std::uint32_t AddSource(std::wstring_view name) const {
        return lines ? lines->AddSource(ToUtf8(name)) : 0;
    }
};

/// One text on its way into the output.
class TextExpansion {
public:
    TextExpansion(Run& run, const char* text, std::uint32_t depth, std::wstring_view name)
        : run_(run),
          depth_(depth),
          source_(run.AddSource(name)),
          cursor_(text),
          end_(text + std::strlen(text)),
          comments_(text) {
        EnterLine();
    }

    bool Expand();

private:
    void EnterLine() noexcept { inDirectiveLine_ = IsDirectiveLine(cursor_); }
    void MapFollowingLines();
    bool CopyPlainLine();
    bool Copy(std::size_t count);
    bool ExpandDirective();
    bool ExpandName(const wchar_t* name);
    void SkipLine();

    Run& run_;
    std::uint32_t depth_;
    std::uint32_t source_;
    std::uint32_t sourceLine_ = 1;
    const char* cursor_;
    const char* end_;
    CommentScan comments_;
    bool inComment_ = false;
    bool inDirectiveLine_ = false;
};

bool TextExpansion::Expand() {
    MapFollowingLines();
    while (*cursor_ != '\0') {
        // Asked at every position of such a line and not only at its start: when a comment ends within a
        // line that begins with the keyword, the directive is met here and its name looked for from here.
        const bool done = !inDirectiveLine_ ? CopyPlainLine() : inComment_ ? Copy(1) : ExpandDirective();
        if (!done) {
            return false;
        }
    }
    return true;
}

/// A text that has ended leaves the last stretch as it is, so that an error which the driver reports
/// behind the very end still belongs to the last text.
void TextExpansion::MapFollowingLines() {
    if (run_.lines && *cursor_ != '\0') {
        run_.lines->Begin(run_.line, source_, sourceLine_);
    }
}

/// Up to the line's end, a long line piece by piece.
bool TextExpansion::CopyPlainLine() {
    const auto length = std::min(kMostAtOnce, static_cast<std::size_t>(end_ - cursor_));
    const void* const newline = std::memchr(cursor_, '\n', length);
    return Copy(newline ? static_cast<std::size_t>(static_cast<const char*>(newline) - cursor_) + 1 : length);
}

/// Copies `count` characters, of which only the last may be a line end.
bool TextExpansion::Copy(std::size_t count) {
    if (run_.output && run_.output->elementSize == 1 && !run_.output->Append(cursor_, count)) {
        return false;
    }
    cursor_ += count;
    inComment_ = comments_.WalkTo(cursor_, inComment_);
    if (cursor_[-1] == '\n') {
        ++run_.line;
        ++sourceLine_;
        EnterLine();
    }
    return true;
}

bool TextExpansion::ExpandDirective() {
    const std::optional<std::string_view> quoted = FindQuotedName(cursor_);
    wchar_t name[kPathUnits];
    if (!quoted || !WidenName(*quoted, name) || !ExpandName(name)) {
        return false;
    }
    SkipLine();
    MapFollowingLines();
    return true;
}

bool TextExpansion::ExpandName(const wchar_t* name) {
    std::uint32_t length = 0;
    IncludedName* entry = nullptr;
    std::int32_t error = 0;
    const HeapText text = ResolveInclude(run_.context, name, &length, &entry, &error);
    if (!text) {
        return error == 0;
    }
    entry->depth = depth_;
    entry->firstLine = run_.line;
    if (!TextExpansion(run_, text.get(), depth_ + 1, entry->name).Expand()) {
        return false;
    }
    entry->endLine = run_.line;
    return true;
}

/// Moves behind the end of the cursor's line, of which nothing is copied or counted in the output.
void TextExpansion::SkipLine() {
    cursor_ += std::strcspn(cursor_, "\n");
    if (*cursor_ == '\n') {
        ++cursor_;
        ++sourceLine_;
        EnterLine();
    }
    inComment_ = comments_.SkipTo(cursor_, inComment_);
}

}  // namespace

bool PreprocessIncludes(IncludeContext& context, const char* text, GrowBuffer* output,
                        std::uint32_t& lineCounter, std::uint32_t depth, LineMap* lines) {
    Run run{context, output, lineCounter, lines};
    return TextExpansion(run, text, depth, {}).Expand();
}

}  // namespace pixelforge
