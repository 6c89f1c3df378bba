// Reads the service's JSON shader document into a `ShaderDocument`.
#pragma once

#include <string>

#include "document/shader_document.h"

namespace pixelforge {

/// Cheap check before any parse. `text` is NUL-terminated and may be shortened in place: bytes behind
/// the last top-level closing brace or bracket are cut off. False for null, blank text, text that does
/// not begin with a brace or bracket, the service's error document, and unbalanced text.
bool IsUsableJsonText(char* text) noexcept;

/// Outcome of reading a document; `error` is empty on success and else names the key or position.
struct ReadOutcome {
    bool complete = false;
    std::string error;  ///< UTF-8, one line
};

/// Widens `text` (UTF-8 when it is valid UTF-8, else the ANSI code page), parses it and fills
/// `document`, which must be zero-filled. After an error the passes read so far stay in the document.
/// Code blocks are narrowed back with the encoding that the text was read with.
ReadOutcome ReadShaderDocument(const char* text, ShaderDocument& document);

}  // namespace pixelforge
