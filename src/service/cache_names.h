// Names of cached files, and the folder part of a path.
#pragma once

#include "base/text.h"

namespace pixelforge {

/// The identifier in lower case, "_", and which of its characters were capitals: bit i of an upper-case
/// hexadecimal number. Service identifiers differ by case and file names do not. `out` holds
/// `kPathUnits`. False for null arguments, an empty identifier or one of more than 20 characters.
bool CachedNameForShaderId(const wchar_t* id, wchar_t* out);

/// The low 8 bits of each character in groups of 5 bytes, 8 symbols of A to Z and 2 to 7 each; the last
/// group is filled with zero bytes and written in full. `out` holds `kPathUnits`. False for null
/// arguments and for a text of more than 160 characters, whose name would not fit.
bool EncodeQueryName(const wchar_t* text, wchar_t* out);

/// Drive and directory of a path, the last separator kept. `out` holds `kPathUnits`. False for a null or
/// empty path and for a folder that does not fit.
bool FolderOfPath(const wchar_t* path, wchar_t* out) noexcept;

}  // namespace pixelforge
