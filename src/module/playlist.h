// Playlists: plain text files that list one shader a line.
#pragma once

#include <cstddef>

#include "base/random.h"

namespace pixelforge {

/// Units of an identifier, the terminator included.
inline constexpr std::size_t kShaderIdUnits = 20;

/// Picks one line of the playlist at random and writes it to `id`, NUL-terminated. The file is text in the
/// ANSI code page with line ends of any origin; empty lines do not count. False, with `id` empty, when the
/// file cannot be read, holds no line, or the picked line has more than 19 UTF-16 units. Text behind the
/// last line end is no line: the file's last entry needs its line end.
bool PickShaderId(const wchar_t* playlistPath, wchar_t (&id)[kShaderIdUnits],
                  RandomSource random = SystemRandom);

}  // namespace pixelforge
