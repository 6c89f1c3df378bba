// Faults in documents, include lines and playlists that the module passes over in silence.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "preview/documents/editor_lines.h"

namespace pixelforge::preview {

/// What the module ignores in a document of either format: passes and inputs. Also adds the document's texts
/// and inputs to `names`.
std::vector<std::string> DocumentFaults(std::string_view document, SourceNames& names);

/// The passes' include lines that name no file. The current folder must be the shader's. Also adds the
/// included files to `names.texts`.
std::vector<std::string> MissingIncludes(SourceNames& names);

/// What the module does not read as the user may expect. `name` is the path as the user wrote it.
std::vector<std::string> PlaylistFaults(std::string_view playlist, const std::string& name);

}  // namespace pixelforge::preview
