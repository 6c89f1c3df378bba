// The media step: brings the files that a document's inputs name into memory.
#pragma once

#include <cstdint>
#include <string_view>

#include "document/shader_document.h"

namespace pixelforge {

struct InternetSession;

/// Visits every channel that shows a texture, a cube map or a volume. Its file comes from the local disk,
/// the cache or the service; a channel whose file cannot be had or read stays empty, which is said once on
/// the debugger output. True after the visit.
bool LoadDocumentMedia(InternetSession* session, ShaderDocument& document);

/// Says on the debugger output that a channel stays empty, and why. `reason` is one clause of UTF-8.
void ReportEmptyChannel(PassKind pass, std::uint32_t channel, const wchar_t* file, std::string_view reason);

}  // namespace pixelforge
