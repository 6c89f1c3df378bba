// Native conversions between UTF-16 units and UTF-8 or Windows-1252, and native formatting.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "base/text.h"

namespace pixelforge {
namespace {

/// Windows-1252 for bytes 0x80 to 0x9F, where it differs from Latin-1; the five undefined bytes map to
/// themselves.
constexpr std::array<wchar_t, 32> kUpperControls = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

wchar_t WidenByte(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0x80 && value < 0xA0 ? kUpperControls[value - 0x80u] : static_cast<wchar_t>(value);
}

char NarrowUnit(wchar_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100)) {
        return static_cast<char>(unit);
    }
    const auto found = std::ranges::find(kUpperControls, unit);
    return found == kUpperControls.end() ? '?' : static_cast<char>(0x80 + (found - kUpperControls.begin()));
}

void AppendUnits(std::wstring& text, char32_t codePoint) {
    if (codePoint < 0x10000) {
        text += static_cast<wchar_t>(codePoint);
        return;
    }
    text += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
    text += static_cast<wchar_t>(0xDC00 + (codePoint & 0x3FF));
}

bool IsHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t CodePointAt(std::wstring_view text, std::size_t index) {
    const wchar_t unit = text[index];
    if (IsHighSurrogate(unit) && index + 1 < text.size() && IsLowSurrogate(text[index + 1])) {
        return 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) +
               (static_cast<char32_t>(text[index + 1]) - 0xDC00);
    }
    const bool alone = IsHighSurrogate(unit) || IsLowSurrogate(unit);
    return alone ? U'\uFFFD' : static_cast<char32_t>(unit);
}

std::optional<std::wstring> WidenUtf8(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    while (!text.empty()) {
        char32_t codePoint = 0;
        const std::size_t length = DecodeUtf8(text, codePoint);
        if (length == 0) {
            return std::nullopt;
        }
        AppendUnits(wide, codePoint);
        text.remove_prefix(length);
    }
    return wide;
}

std::string NarrowUtf8(std::wstring_view text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t codePoint = CodePointAt(text, i);
        AppendUtf8(narrow, codePoint);
        i += codePoint >= 0x10000 ? 1 : 0;
    }
    return narrow;
}

/// In wide formats "%s" and "%c" mean narrow text here but wide text on Windows.
std::wstring WithWideConversions(std::wstring_view format) {
    constexpr std::wstring_view kFlagsAndSizes = L"-+ #0123456789.*";
    std::wstring result;
    bool inDirective = false;
    for (const wchar_t c : format) {
        if (inDirective && (c == L's' || c == L'c')) {
            result += L'l';
        }
        result += c;
        inDirective = inDirective ? kFlagsAndSizes.find(c) != kFlagsAndSizes.npos : c == L'%';
    }
    return result;
}

}  // namespace

std::optional<std::wstring> Widen(std::string_view text, TextEncoding encoding) {
    if (encoding == TextEncoding::Utf8) {
        return WidenUtf8(text);
    }
    std::wstring wide(text.size(), L'\0');
    std::ranges::transform(text, wide.begin(), WidenByte);
    return wide;
}

std::optional<std::string> Narrow(std::wstring_view text, TextEncoding encoding) {
    if (encoding == TextEncoding::Utf8) {
        return NarrowUtf8(text);
    }
    std::string narrow(text.size(), '\0');
    std::ranges::transform(text, narrow.begin(), NarrowUnit);
    return narrow;
}

bool FormatFits(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                std::va_list arguments) noexcept {
    buffer[0] = L'\0';
    wchar_t* text = nullptr;
    std::size_t units = 0;
    std::FILE* const stream = open_wmemstream(&text, &units);
    if (!stream) {
        return false;
    }
    const int length = std::vfwprintf(stream, WithWideConversions(format).c_str(), arguments);
    std::fclose(stream);
    CopyCut(buffer, capacity, {text, units});
    std::free(text);
    return length >= 0 && static_cast<std::size_t>(length) < capacity;
}

}  // namespace pixelforge
