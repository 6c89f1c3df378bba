// Loads a shader document, and its media, by identifier or path.
#pragma once

#include <string>

#include "document/shader_document.h"

namespace pixelforge {

struct InternetSession;

/// Fills the zero-filled `document` from the existing file that `idOrPath` names, else from the cache or
/// the service, sets its origin and restricts its sources by it. False for null arguments, a text that
/// cannot be had or used, a reading error, or a failed media step; `reason` then receives one line of
/// UTF-8 that names what is wrong, for the caller to report.
bool LoadShaderById(InternetSession* session, const wchar_t* idOrPath, ShaderDocument* document,
                    std::string& reason);

}  // namespace pixelforge
