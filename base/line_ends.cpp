// Line ends of any origin become single line feeds.
#include "base/line_ends.h"

#include <cstring>

namespace pixelforge {
namespace {

bool IsLineEnd(char c) noexcept {
    return c == '\r' || c == '\n';
}

}  // namespace

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
