// Narrow and wide text: conversions, comparison, bounded copies and formatting, line ends.
// Wide text consists of UTF-16 units on every platform, even where wchar_t has 32 bits.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pixelforge {

/// Capacity of every path and label field in UTF-16 units, terminator included.
inline constexpr std::size_t kPathUnits = 260;

enum class TextEncoding {
    AnsiCodePage,  ///< the system's code page (the native build uses Windows-1252)
    Utf8,
};

/// True if the whole text is well-formed UTF-8 (no surrogates, no overlong sequences).
bool IsValidUtf8(std::string_view text) noexcept;

/// UTF-8 if the bytes are valid UTF-8, else the ANSI code page.
TextEncoding DetectEncoding(std::string_view text) noexcept;

/// Narrow text converted to UTF-16; std::nullopt if the conversion fails.
std::optional<std::wstring> Widen(std::string_view text, TextEncoding encoding);

/// Wide text converted to the given encoding; std::nullopt if the conversion fails. Characters without an
/// equivalent are replaced ('?' in code pages, U+FFFD for lone surrogates).
std::optional<std::string> Narrow(std::wstring_view text, TextEncoding encoding);

/// Wide text converted to UTF-8; empty if the conversion fails.
std::string ToUtf8(std::wstring_view text);

/// UTF-8 text converted to UTF-16; empty if it is malformed.
std::wstring FromUtf8(std::string_view text);

/// Control characters (C0, delete, C1) replaced by spaces, in UTF-8. Text from strangers must not control a
/// terminal or begin a new line there.
std::string WithoutControls(std::wstring_view text);

/// The same for narrow text, decoded as `DetectEncoding` says.
std::string WithoutControls(std::string_view text);

/// Decodes the sequence at the start of a non-empty text. Returns its length in bytes, or 0 if it is
/// malformed (overlong, a surrogate, above U+10FFFF, truncated).
std::size_t DecodeUtf8(std::string_view text, char32_t& codePoint) noexcept;

/// Appends a code point up to U+10FFFF.
void AppendUtf8(std::string& text, char32_t codePoint);

/// Comparison that ignores the case of A to Z.
bool EqualIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) noexcept;
bool StartsWithIgnoringAsciiCase(std::wstring_view text, std::wstring_view start) noexcept;

/// Removes the first line from `text` and returns it without its "\n".
std::string_view TakeLine(std::string_view& text) noexcept;

/// A text's bytes.
inline std::span<const std::uint8_t> BytesOf(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Copies into a fixed field, truncated to capacity - 1 units and always terminated. Stops at a NUL.
void CopyCut(wchar_t* field, std::size_t capacity, std::wstring_view text) noexcept;

template <std::size_t N>
void CopyCut(wchar_t (&field)[N], std::wstring_view text) noexcept {
    CopyCut(field, N, text);
}

/// Results of `FormatBounded`.
inline constexpr std::int32_t kFormatComplete = 0;
inline constexpr std::int32_t kFormatCut = static_cast<std::int32_t>(0x8007007A);
inline constexpr std::int32_t kFormatBadCapacity = static_cast<std::int32_t>(0x80070057);

/// Formats wide text ("%s" expects a wide string) into `buffer` of `capacityChars` units and always
/// terminates it. Returns 0, 0x8007007A if the text was truncated, or 0x80070057 for a capacity of 0
/// (nothing is written) or above 0x7FFFFFFF (the first unit is cleared).
std::int32_t FormatBounded(wchar_t* buffer, std::size_t capacityChars, const wchar_t* format, ...) noexcept;

/// The platform's part of `FormatBounded`: formats into `capacity` (at least 1) units, terminator included.
/// False if the text was truncated.
bool FormatFits(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                std::va_list arguments) noexcept;

/// Copies text up to its NUL, turning each "\r\n", "\n\r", lone "\r" and lone "\n" into one "\n". Writes at
/// most capacity - 1 bytes and always a terminating NUL; `source` and `destination` may be the same block.
/// Does nothing for a null argument or a zero capacity.
void NormalizeLineEnds(const char* source, char* destination, std::size_t capacity) noexcept;

/// Replaces all trailing "\r" and "\n" with exactly one "\n". The block needs one spare byte if the text has
/// no line end yet. Null is allowed.
void EndWithOneNewline(char* text) noexcept;

}  // namespace pixelforge
