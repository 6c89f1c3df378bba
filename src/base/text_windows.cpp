// Conversions and formatting by Windows.
#include <windows.h>

#include <cstdio>
#include <limits>

#include "base/text.h"

namespace pixelforge {
namespace {

constexpr std::size_t kMaxUnits = std::numeric_limits<int>::max();

}  // namespace

std::optional<std::wstring> Widen(std::string_view text, TextEncoding encoding) {
    const bool utf8 = encoding == TextEncoding::Utf8;
    const UINT codePage = utf8 ? CP_UTF8 : CP_ACP;
    const DWORD flags = utf8 ? MB_ERR_INVALID_CHARS : 0;
    if (text.empty()) {
        return std::wstring();
    }
    if (text.size() > kMaxUnits) {
        return std::nullopt;
    }
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(codePage, flags, text.data(), bytes, nullptr, 0);
    if (units <= 0) {
        return std::nullopt;
    }
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    const int written = MultiByteToWideChar(codePage, flags, text.data(), bytes, wide.data(), units);
    return written == units ? std::optional(std::move(wide)) : std::nullopt;
}

std::optional<std::string> Narrow(std::wstring_view text, TextEncoding encoding) {
    const bool utf8 = encoding == TextEncoding::Utf8 || GetACP() == CP_UTF8;
    const UINT codePage = utf8 ? CP_UTF8 : CP_ACP;
    // A look-alike would silently change the shader's code; '?' is at least visible.
    const DWORD flags = utf8 ? 0 : WC_NO_BEST_FIT_CHARS;
    if (text.empty()) {
        return std::string();
    }
    if (text.size() > kMaxUnits) {
        return std::nullopt;
    }
    const int units = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(codePage, flags, text.data(), units, nullptr, 0, nullptr, nullptr);
    if (bytes <= 0) {
        return std::nullopt;
    }
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    const int written =
        WideCharToMultiByte(codePage, flags, text.data(), units, narrow.data(), bytes, nullptr, nullptr);
    return written == bytes ? std::optional(std::move(narrow)) : std::nullopt;
}

bool FormatFits(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                std::va_list arguments) noexcept {
    buffer[0] = L'\0';
    // Under this underscored name the compiler never substitutes its own wide printf, whose "%s" expects
    // narrow text. Text that fills the buffer is left unterminated.
    const int length = _vsnwprintf(buffer, capacity, format, arguments);
    buffer[capacity - 1] = L'\0';
    return length >= 0 && static_cast<std::size_t>(length) < capacity;
}

}  // namespace pixelforge
