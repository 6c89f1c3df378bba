// Reads the service's JSON shader documents.
#pragma once

#include "document/shader_document.h"

namespace pixelforge {

/// Parses `text` (UTF-8 if valid, else the ANSI code page) into `document`, which must be zero-filled. Code
/// keeps the encoding of the text. Throws a `LoadError` that names the key or position, or std::bad_alloc;
/// passes read so far then stay in the document.
void ReadShaderDocument(const char* text, ShaderDocument& document);

}  // namespace pixelforge
