// Bounded formatting for the native build, with the meaning that "%s" and "%c" have on Windows.
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <string_view>

#include "base/text.h"
#include "base/text_format.h"

namespace pixelforge {
namespace {

/// "%s" and "%c" of wide formats take narrow text here and wide text on Windows.
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
