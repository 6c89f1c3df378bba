// Names of cached files, and the folder of a path.
#pragma once

#include "base/text.h"

namespace pixelforge {

/// The identifier in lower case, "_", and a hexadecimal mask of its capitals (bit i for character i): the
/// service's identifiers are case-sensitive, file names are not. `out` holds `kPathUnits`. False for null
/// arguments and for an identifier that is empty or longer than 20 characters.
bool CachedNameForShaderId(const wchar_t* id, wchar_t* out);

/// Base 32 (A to Z, 2 to 7) of the low 8 bits of each character; the last group of 5 bytes is padded with
/// zero bytes and written in full. `out` holds `kPathUnits`. False for null arguments and for more than 160
/// characters, whose name would not fit.
bool EncodeQueryName(const wchar_t* text, wchar_t* out);

/// Drive and directory of a path, including the last separator. `out` holds `kPathUnits`. False for a null or
/// empty path and for a folder that does not fit.
bool FolderOfPath(const wchar_t* path, wchar_t* out) noexcept;

}  // namespace pixelforge
