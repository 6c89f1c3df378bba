// Copies text, replacing each `#include` line with the text it names.
#include "glsl/include_preprocessor.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "glsl/comment_scan.h"
#include "glsl/line_map.h"

namespace pixelforge {
namespace {

constexpr std::string_view kKeyword = "#include";

constexpr const char* kNoClosingQuote = "the name of #include has no closing quote";
constexpr const char* kTooManyNames = "too many #include names (at most 64, four of them the module's own)";
static_assert(kIncludeEntries == 64);

/// Small enough to stay in the processor's cache between finding the line's end, copying and scanning.
constexpr std::size_t kMaxPieceLength = 4096;

constexpr std::uint64_t kFirstCapacity = 1024;

bool Grow(GrowBuffer& buffer) noexcept {
    const std::uint64_t wanted = std::max(2 * std::uint64_t{buffer.capacity},
                                          std::max(buffer.capacity + std::uint64_t{1}, kFirstCapacity));
    if (wanted > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    HeapBytes block(static_cast<std::uint8_t*>(AllocateHeapBlock(wanted * buffer.elementSize)));
    if (!block) {
        return false;
    }
    if (buffer.count > 0) {
        std::memcpy(block.get(), buffer.data.get(), std::size_t{buffer.count} * buffer.elementSize);
    }
    buffer.data = std::move(block);
    buffer.capacity = static_cast<std::uint32_t>(wanted);
    return true;
}

const char* SkipBlanks(const char* text) noexcept {
    while (*text == ' ' || *text == '\t') {
        ++text;
    }
    return text;
}

/// True for optional blanks, the keyword and a blank.
bool IsDirectiveLine(const char* line) noexcept {
    line = SkipBlanks(line);
    return std::strncmp(line, kKeyword.data(), kKeyword.size()) == 0 &&
           (line[kKeyword.size()] == ' ' || line[kKeyword.size()] == '\t');
}

/// The quoted name, expected eight characters after the cursor rather than after the keyword: only a
/// directive in column one has it there. std::nullopt without an opening or a closing quote.
std::optional<std::string_view> FindQuotedName(const char* cursor) noexcept {
    if (std::memchr(cursor, '\0', kKeyword.size())) {
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

/// Why `FindQuotedName` finds no name at the cursor, which is in a directive's line.
const char* WhyNoName(const char* cursor, bool atLineStart) noexcept {
    if (!atLineStart) {
        return "a comment ends in the line of this #include";
    }
    if (*cursor != '#') {
        return "#include is indented; it must begin in column one";
    }
    switch (*SkipBlanks(cursor + kKeyword.size())) {
        case '<':
            return "#include <...> is not supported; put the name in double quotes";
        case '"':
            return kNoClosingQuote;
        default:
            return "#include needs a name in double quotes";
    }
}

/// Decodes a name as documents are decoded: UTF-8 if valid, else the ANSI code page.
bool WidenName(std::string_view narrow, wchar_t (&name)[kPathUnits]) {
    const std::optional<std::wstring> wide = Widen(narrow, DetectEncoding(narrow));
    if (!wide || wide->size() + 1 > kPathUnits) {
        return false;
    }
    CopyCut(name, *wide);
    return true;
}

/// Shared by all texts of one run.
struct Run {
    IncludeContext& context;
    GrowBuffer* output;
    std::uint32_t& line;
    LineMap* lines;

    std::uint32_t AddSource(std::wstring_view name) const {
        return lines ? lines->AddSource(ToUtf8(name)) : 0;
    }
};

/// The expansion of one text.
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
    void EnterLine() noexcept {
        lineStart_ = cursor_;
        inDirectiveLine_ = IsDirectiveLine(cursor_);
    }
    void MapFollowingLines();
    bool CopyPlainLine();
    bool Copy(std::size_t count);
    bool ExpandDirective();
    bool ExpandName(const wchar_t* name);
    void SkipLine();
    bool Fail(const char* cause) const;

    Run& run_;
    std::uint32_t depth_;
    std::uint32_t source_;
    std::uint32_t sourceLine_ = 1;
    const char* cursor_;
    const char* end_;
    const char* lineStart_ = nullptr;
    CommentScan comments_;
    bool inComment_ = false;
    bool inDirectiveLine_ = false;
};

bool TextExpansion::Expand() {
    MapFollowingLines();
    while (*cursor_ != '\0') {
        // Tested at every position of a directive line, not only at its start: if a comment ends within the
        // line, the directive begins there and its name is searched for from there.
        const bool done = !inDirectiveLine_ ? CopyPlainLine() : inComment_ ? Copy(1) : ExpandDirective();
        if (!done) {
            return false;
        }
    }
    return true;
}

/// At the end of a text the last stretch stays open, so that errors past the end of the output map to the
/// last text.
void TextExpansion::MapFollowingLines() {
    if (run_.lines && *cursor_ != '\0') {
        run_.lines->Begin(run_.line, source_, sourceLine_);
    }
}

/// Copies up to the line's end; long lines in pieces.
bool TextExpansion::CopyPlainLine() {
    const auto length = std::min(kMaxPieceLength, static_cast<std::size_t>(end_ - cursor_));
    const void* const newline = std::memchr(cursor_, '\n', length);
    return Copy(newline ? static_cast<std::size_t>(static_cast<const char*>(newline) - cursor_) + 1 : length);
}

/// Copies `count` characters; only the last may be a newline.
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
    if (!quoted) {
        return Fail(WhyNoName(cursor_, cursor_ == lineStart_));
    }
    wchar_t name[kPathUnits];
    if (!WidenName(*quoted, name)) {
        return Fail(quoted->find('\n') != std::string_view::npos
                        ? kNoClosingQuote
                        : "the name of #include is longer than 259 characters");
    }
    if (!ExpandName(name)) {
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
        return error == 0 ||
               Fail(run_.context.includedCount < kIncludeEntries ? "out of memory" : kTooManyNames);
    }
    entry->depth = depth_;
    entry->firstLine = run_.line;
    if (!TextExpansion(run_, text.get(), depth_ + 1, entry->name).Expand()) {
        return false;
    }
    entry->endLine = run_.line;
    return true;
}

/// Records the cause at the cursor's line.
bool TextExpansion::Fail(const char* cause) const {
    if (run_.lines) {
        run_.lines->SetFailure(source_, sourceLine_, cause);
    }
    return false;
}

/// Moves past the cursor's line without copying it or counting it as output.
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

bool GrowBuffer::Append(const void* elements, std::size_t added) noexcept {
    while (capacity - count < added) {
        if (!Grow(*this)) {
            return false;
        }
    }
    std::memcpy(data.get() + std::size_t{count} * elementSize, elements, added * elementSize);
    count += static_cast<std::uint32_t>(added);
    return true;
}

bool PreprocessIncludes(IncludeContext& context, const char* text, GrowBuffer* output,
                        std::uint32_t& lineCounter, std::uint32_t depth, LineMap* lines) {
    Run run{context, output, lineCounter, lines};
    return TextExpansion(run, text, depth, {}).Expand();
}

}  // namespace pixelforge
