// Rules for file names that come from documents.
#pragma once

#include <string_view>

namespace pixelforge {

/// True when a name may be opened for a document that the user chose from a local disk. Refused: the
/// empty name, UNC and device paths ("\\server", "\\?\", "\\.\", also written with "/"), reserved
/// device names (CON, NUL, COM1 ... in any component, with or without an extension), a component that
/// ends in a dot or a blank (other than "." and "..") or has more than 255 units, a colon anywhere but
/// behind a drive letter, and control characters or any of < > | " ? *.
bool IsOpenableLocalName(std::wstring_view name) noexcept;

/// True for an openable name without any folder or drive, so that it stays in the folder that it is put
/// behind: what a document of a stranger may name.
bool IsPlainFileName(std::wstring_view name) noexcept;

}  // namespace pixelforge
