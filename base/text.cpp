// The platform-free part of the text helpers.
#include "base/text.h"

#include <algorithm>
#include <cstdarg>

#include "base/text_format.h"
#include "base/utf8.h"

namespace pixelforge {

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

}  // namespace pixelforge
