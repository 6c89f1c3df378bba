// Recognises empty replies, error replies and truncated transfers without parsing them.
#include "document/usable_json.h"

#include <cstring>
#include <string_view>

namespace pixelforge {
namespace {

/// Tracks the nesting of braces and brackets outside strings.
class NestingScan {
public:
    /// False for an unmatched closing character.
    bool Step(char c) noexcept {
        closing_ = false;
        if (escaped_) {
            escaped_ = false;
        } else if (c == '\\') {
            escaped_ = true;
        } else if (c == '"') {
            inString_ = !inString_;
        } else if (!inString_) {
            return Count(c);
        }
        return true;
    }

    bool Closed() const noexcept { return !inString_ && braces_ == 0 && brackets_ == 0; }

    /// The last character closed a top-level value.
    bool JustClosed() const noexcept { return closing_ && Closed(); }

private:
    bool Count(char c) noexcept {
        closing_ = c == '}' || c == ']';
        braces_ += c == '{' ? 1 : c == '}' ? -1 : 0;
        brackets_ += c == '[' ? 1 : c == ']' ? -1 : 0;
        return braces_ >= 0 && brackets_ >= 0;
    }

    bool inString_ = false;
    bool escaped_ = false;
    bool closing_ = false;
    long long braces_ = 0;
    long long brackets_ = 0;
};

bool StartsWithByteOrderMark(std::string_view text) noexcept {
    return text.starts_with("\xEF\xBB\xBF") || text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
}

}  // namespace

JsonTextFault CheckJsonText(char* text) noexcept {
    char* const first = text ? text + std::strspn(text, " \t\n\v\f\r") : nullptr;
    if (!first || !*first) {
        return JsonTextFault::Empty;
    }
    if (*first != '{' && *first != '[') {
        return StartsWithByteOrderMark(text) ? JsonTextFault::ByteOrderMark : JsonTextFault::NoBrace;
    }
    if (std::string_view(text).starts_with("{\"Error\":")) {
        return JsonTextFault::ServiceError;
    }
    NestingScan scan;
    char* documentEnd = nullptr;
    for (char* c = first; *c; ++c) {
        if (!scan.Step(*c)) {
            return JsonTextFault::Unbalanced;
        }
        if (scan.JustClosed()) {
            documentEnd = c + 1;
        }
    }
    if (!scan.Closed()) {
        return JsonTextFault::Unbalanced;
    }
    if (documentEnd) {
        *documentEnd = '\0';
    }
    return JsonTextFault::None;
}

const char* DescribeFault(JsonTextFault fault) noexcept {
    switch (fault) {
        case JsonTextFault::None:
            return "usable";
        case JsonTextFault::Empty:
            return "empty, or only blanks";
        case JsonTextFault::ByteOrderMark:
            return "begins with a byte-order mark; save it as UTF-8 without one";
        case JsonTextFault::NoBrace:
            return "not a JSON document: it does not begin with a brace or bracket";
        case JsonTextFault::ServiceError:
            return "an error document from the service, not a shader";
        case JsonTextFault::Unbalanced:
            return "truncated or damaged: its quotes, braces or brackets do not match";
    }
    return "unusable";
}

bool IsUsableJsonText(char* text) noexcept {
    return CheckJsonText(text) == JsonTextFault::None;
}

}  // namespace pixelforge
