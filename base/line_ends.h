// Line ends: every text that reaches the GLSL compiler or the playlist goes through these.
#pragma once

#include <cstddef>

namespace pixelforge {

/// Turns each "\r\n", "\n\r", lone "\r" and lone "\n" into one "\n" and copies every other byte, up to
/// the source's NUL. Writes at most capacity - 1 bytes and always a terminating NUL; `source` and
/// `destination` may be the same block. Nothing happens for a null argument or a zero capacity.
void NormalizeLineEnds(const char* source, char* destination, std::size_t capacity) noexcept;

/// Removes all trailing "\r" and "\n", then appends exactly one "\n". The block needs one spare byte
/// when the text has no line end yet. Null is accepted.
void EndWithOneNewline(char* text) noexcept;

}  // namespace pixelforge
