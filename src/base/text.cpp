// Platform-independent text helpers.
#include "base/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace pixelforge {
namespace {

struct LeadByte {
    std::size_t length;
    char32_t bits;
    char32_t lowest;  ///< anything below is overlong
};

LeadByte ReadLeadByte(unsigned char lead) noexcept {
    if (lead < 0x80) {
        return {1, lead, 0};
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return {2, lead & 0x1Fu, 0x80};
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return {3, lead & 0x0Fu, 0x800};
    }
    if (lead >= 0xF0 && lead < 0xF5) {
        return {4, lead & 0x07u, 0x10000};
    }
    return {0, 0, 0};
}

char ContinuationByte(char32_t codePoint, unsigned shift) {
    return static_cast<char>(0x80u | ((codePoint >> shift) & 0x3Fu));
}

wchar_t FoldAsciiCase(wchar_t unit) noexcept {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

bool IsLineEnd(char c) noexcept {
    return c == '\r' || c == '\n';
}

}  // namespace

bool IsValidUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        char32_t codePoint = 0;
        const std::size_t length = DecodeUtf8(text, codePoint);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

TextEncoding DetectEncoding(std::string_view text) noexcept {
    return IsValidUtf8(text) ? TextEncoding::Utf8 : TextEncoding::AnsiCodePage;
}

std::size_t DecodeUtf8(std::string_view text, char32_t& codePoint) noexcept {
    const LeadByte lead = ReadLeadByte(static_cast<unsigned char>(text.front()));
    if (lead.length == 0 || lead.length > text.size()) {
        return 0;
    }
    codePoint = lead.bits;
    for (std::size_t i = 1; i < lead.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0u) != 0x80u) {
            return 0;
        }
        codePoint = (codePoint << 6) | (byte & 0x3Fu);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < lead.lowest || surrogate || codePoint > 0x10FFFF ? 0 : lead.length;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        text += static_cast<char>(0xC0u | (codePoint >> 6));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0u | (codePoint >> 12));
        text += ContinuationByte(codePoint, 6);
    } else {
        text += static_cast<char>(0xF0u | (codePoint >> 18));
        text += ContinuationByte(codePoint, 12);
        text += ContinuationByte(codePoint, 6);
    }
    text += ContinuationByte(codePoint, 0);
}

std::string ToUtf8(std::wstring_view text) {
    return Narrow(text, TextEncoding::Utf8).value_or(std::string());
}

std::string WithoutControls(std::wstring_view text) {
    std::wstring printable(text);
    const auto isControl = [](wchar_t unit) { return unit < L' ' || (unit >= 0x7F && unit < 0xA0); };
    std::ranges::replace_if(printable, isControl, L' ');
    return ToUtf8(printable);
}

std::string WithoutControls(std::string_view text) {
    return WithoutControls(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
}

std::wstring FromUtf8(std::string_view text) {
    return Widen(text, TextEncoding::Utf8).value_or(std::wstring());
}

bool EqualIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) noexcept {
    return std::ranges::equal(a, b, {}, FoldAsciiCase, FoldAsciiCase);
}

bool StartsWithIgnoringAsciiCase(std::wstring_view text, std::wstring_view start) noexcept {
    return EqualIgnoringAsciiCase(text.substr(0, start.size()), start);
}

std::string_view TakeLine(std::string_view& text) noexcept {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

void CopyCut(wchar_t* field, std::size_t capacity, std::wstring_view text) noexcept {
    if (capacity == 0) {
        return;
    }
    const std::size_t length = std::min({text.size(), text.find(L'\0'), capacity - 1});
    std::copy_n(text.data(), length, field);
    field[length] = L'\0';
}

std::int32_t FormatBounded(wchar_t* buffer, std::size_t capacityChars, const wchar_t* format, ...) noexcept {
    if (capacityChars == 0) {
        return kFormatBadCapacity;
    }
    if (capacityChars > 0x7FFFFFFF) {
        buffer[0] = L'\0';
        return kFormatBadCapacity;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const bool fits = FormatFits(buffer, capacityChars, format, arguments);
    va_end(arguments);
    return fits ? kFormatComplete : kFormatCut;
}

void NormalizeLineEnds(const char* source, char* destination, std::size_t capacity) noexcept {
    if (!source || !destination || capacity == 0) {
        return;
    }
    std::size_t written = 0;
    while (*source && written + 1 < capacity) {
        const char current = *source++;
        if (IsLineEnd(current)) {
            const bool pair = IsLineEnd(*source) && *source != current;
            source += pair ? 1 : 0;
        }
        destination[written++] = IsLineEnd(current) ? '\n' : current;
    }
    destination[written] = '\0';
}

void EndWithOneNewline(char* text) noexcept {
    if (!text) {
        return;
    }
    std::size_t length = std::strlen(text);
    while (length > 0 && IsLineEnd(text[length - 1])) {
        --length;
    }
    text[length] = '\n';
    text[length + 1] = '\0';
}

}  // namespace pixelforge
