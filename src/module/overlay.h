// The notice that names a shader, its author and its description, as rich text for the host.
#pragma once

#include <span>

#include "document/shader_document.h"

namespace pixelforge {

/// Writes the notice into `infoText` and terminates it. Returns false, with `infoText` as it was, when
/// the text and its terminator do not fit. Line ends at the end of the description are removed in the
/// record itself. With an editor path (forward slashes) the notice has a link that opens the shader
/// there; that link is cut at `kPathUnits`.
/// Texts go in as they are: a brace or back-slash in a name acts as rich text. The colour table keeps
/// nine "%lu" for the host to fill.
bool ComposeInfoText(ShaderInfo& info, const wchar_t* editorPath, std::span<wchar_t> infoText) noexcept;

}  // namespace pixelforge
