// UTF-8 sequences, one code point at a time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace pixelforge {

/// Decodes the sequence at the start of a non-empty text. Answers its length in bytes, or 0 for a
/// sequence that is not well formed (overlong, a surrogate, above U+10FFFF, cut).
std::size_t DecodeUtf8(std::string_view text, char32_t& codePoint) noexcept;

/// Appends a code point up to U+10FFFF.
void AppendUtf8(std::string& text, char32_t codePoint);

}  // namespace pixelforge
