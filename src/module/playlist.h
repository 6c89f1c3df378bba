// Playlists: plain text files with one shader per line.
#pragma once

#include <cstddef>

#include "base/random.h"

namespace pixelforge {

/// Units of an identifier, including the terminator.
inline constexpr std::size_t kShaderIdUnits = 20;

/// Picks a random line of the playlist and writes it to `id`, NUL-terminated. The file is text in the ANSI
/// code page with any kind of line ends; empty lines are skipped. False, with `id` empty, if the file cannot
/// be read or has no line, or if the picked line exceeds 19 UTF-16 units. A last line without a line end is
/// ignored.
bool PickShaderId(const wchar_t* playlistPath, wchar_t (&id)[kShaderIdUnits],
                  RandomSource random = SystemRandom);

}  // namespace pixelforge
