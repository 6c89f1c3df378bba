// Narrow and wide text: conversions, bounded copies and bounded formatting.
// Wide text is a run of UTF-16 units on every platform, also where wchar_t has 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
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

}  // namespace pixelforge
