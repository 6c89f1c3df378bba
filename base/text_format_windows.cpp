// Bounded formatting by the system's C runtime, whose wide "%s" takes a wide text.
#include <cstdio>

#include "base/text_format.h"

namespace pixelforge {

bool FormatFits(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                std::va_list arguments) noexcept {
    buffer[0] = L'\0';
    // The name with the underscore is never replaced by the compiler's own wide printf, in which "%s"
    // takes a narrow text. It leaves the end open when the text fills the buffer.
    const int length = _vsnwprintf(buffer, capacity, format, arguments);
    buffer[capacity - 1] = L'\0';
    return length >= 0 && static_cast<std::size_t>(length) < capacity;
}

}  // namespace pixelforge
