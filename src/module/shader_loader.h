// Loads a shader, from picking it in the playlist to a pass graph ready to draw.
#pragma once

#include <string>

#include "document/shader_document.h"
#include "module/host_abi.h"

namespace pixelforge {

struct InternetSession;

/// Replaces the renderer with one for a shader picked from the playlist. If any step fails, returns false,
/// sets the instance's error flag and writes one line with the reason to the debugger output.
bool RunLoader(ModuleInstance& instance, const DrawContext& context);

/// Reads a shader document and its media into the zero-filled `document`: from the existing local file
/// `idOrPath`, else from the cache or the service. Sets the document's origin and restricts its sources
/// accordingly. False for null arguments and for text that is unavailable, unusable or malformed; `reason` is
/// then one clause of UTF-8.
bool LoadShaderById(InternetSession* session, const wchar_t* idOrPath, ShaderDocument* document,
                    std::string& reason);

}  // namespace pixelforge
