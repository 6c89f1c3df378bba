// The notice with a shader's name, author and description, as rich text for the host.
#pragma once

#include <span>

#include "document/shader_document.h"

namespace pixelforge {

/// Writes the notice into `infoText` and terminates it. Returns false, with `infoText` unchanged, if the text
/// and its terminator do not fit. Strips trailing line ends from the record's description. With an editor
/// path (forward slashes) the notice has a link that opens the shader in the editor, unless that link and its
/// terminator exceed `kPathUnits`. Texts are not escaped: a brace or backslash in a name acts as rich text.
/// The colour table contains nine "%lu" for the host to fill.
bool ComposeInfoText(ShaderInfo& info, const wchar_t* editorPath, std::span<wchar_t> infoText) noexcept;

}  // namespace pixelforge
