// Which names a document may use, by where it came from.
#pragma once

#include "document/shader_document.h"

namespace pixelforge {

/// Clears or shortens every `src` that the document may not use. From the service it becomes the plain
/// file name behind its last separator, so that only the cache can hold the file; from a local file it
/// keeps its local path. What no document may name (see base/file_names.h) leaves the input without a
/// source.
void RestrictSources(ShaderDocument& document);

}  // namespace pixelforge
