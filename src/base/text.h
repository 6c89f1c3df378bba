// Narrow and wide text: conversions, comparison, bounded copies, bounded formatting, line ends.
// Wide text is a run of UTF-16 units on every platform, also where wchar_t has 32 bits.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pixelforge {

/// Capacity of every path and label field, in UTF-16 units, the terminator included.
inline constexpr std::size_t kPathUnits = 260;

enum class TextEncoding {
    AnsiCodePage,  ///< the system's code page (the native build uses Windows-1252)
    Utf8,
};

/// True when every byte belongs to a well-formed UTF-8 sequence (no surrogates, nothing overlong).
bool IsValidUtf8(std::string_view text) noexcept;

/// UTF-8 when the bytes are valid UTF-8, else the ANSI code page.
TextEncoding DetectEncoding(std::string_view text) noexcept;

/// UTF-16 units of a narrow text, or nothing when the conversion fails.
std::optional<std::wstring> Widen(std::string_view text, TextEncoding encoding);

/// Narrow bytes of a wide text, or nothing when the conversion fails. Characters that the target
/// cannot hold become its replacement character ('?' for code pages, U+FFFD for lone surrogates).
std::optional<std::string> Narrow(std::wstring_view text, TextEncoding encoding);

/// UTF-8 of a wide text; empty when it cannot be converted.
std::string ToUtf8(std::wstring_view text);

/// UTF-16 of a UTF-8 text; empty when it is not well formed.
std::wstring FromUtf8(std::string_view text);

/// Decodes the sequence at the start of a non-empty text. Answers its length in bytes, or 0 for a
/// sequence that is not well formed (overlong, a surrogate, above U+10FFFF, cut).
std::size_t DecodeUtf8(std::string_view text, char32_t& codePoint) noexcept;

/// Appends a code point up to U+10FFFF.
void AppendUtf8(std::string& text, char32_t codePoint);

/// Compares without regard to the case of A to Z.
bool EqualIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) noexcept;
bool StartsWithIgnoringAsciiCase(std::wstring_view text, std::wstring_view start) noexcept;

/// A text's bytes.
inline std::span<const std::uint8_t> BytesOf(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Copies into a fixed field, cut to capacity - 1 units, always terminated. Stops at a NUL.
void CopyCut(wchar_t* field, std::size_t capacity, std::wstring_view text) noexcept;

template <std::size_t N>
void CopyCut(wchar_t (&field)[N], std::wstring_view text) noexcept {
    CopyCut(field, N, text);
}

/// Results of `FormatBounded`.
inline constexpr std::int32_t kFormatComplete = 0;
inline constexpr std::int32_t kFormatCut = static_cast<std::int32_t>(0x8007007A);
inline constexpr std::int32_t kFormatBadCapacity = static_cast<std::int32_t>(0x80070057);

/// Formats wide text ("%s" takes a wide text) into `buffer` of `capacityChars` units and always
/// terminates it. Returns 0, 0x8007007A when the text was cut, or 0x80070057 when the capacity is 0
/// (nothing is written) or above 0x7FFFFFFF (the first unit is cleared).
std::int32_t FormatBounded(wchar_t* buffer, std::size_t capacityChars, const wchar_t* format, ...) noexcept;

/// The platform's part of `FormatBounded`: formats into `capacity` (at least 1) units and terminates them.
/// False when the text was cut.
bool FormatFits(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                std::va_list arguments) noexcept;

/// Turns each "\r\n", "\n\r", lone "\r" and lone "\n" into one "\n" and copies every other byte, up to
/// the source's NUL. Writes at most capacity - 1 bytes and always a terminating NUL; `source` and
/// `destination` may be the same block. Nothing happens for a null argument or a zero capacity.
void NormalizeLineEnds(const char* source, char* destination, std::size_t capacity) noexcept;

/// Removes all trailing "\r" and "\n", then appends exactly one "\n". The block needs one spare byte
/// when the text has no line end yet. Null is accepted.
void EndWithOneNewline(char* text) noexcept;

}  // namespace pixelforge
