// The platform's share of `FormatBounded`.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace pixelforge {

/// Formats into a buffer of `capacity` (at least 1) units and terminates it. False when the text was cut.
bool FormatFits(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                std::va_list arguments) noexcept;

}  // namespace pixelforge
