// The media step: which files the inputs of a document may use, and loading them into memory.
#pragma once

#include <cstdint>
#include <string_view>

#include "document/shader_document.h"

namespace pixelforge {

struct InternetSession;

/// Restricts every `src` according to the document's origin. In a service document it is cut to the plain
/// file name after the last separator, so that it can only name a cached file; in a local document it keeps
/// its path. A name that may not be opened (see base/file.h) becomes empty.
void RestrictSources(ShaderDocument& document);

/// Loads the file of every texture, cube-map and volume channel from the local disk, the cache or the
/// service. A channel whose file cannot be fetched or read stays empty and is reported once. Always true.
bool LoadDocumentMedia(InternetSession* session, ShaderDocument& document);

/// Reports on the debugger output that a channel stays empty. `reason` is one clause of UTF-8.
void ReportEmptyChannel(PassKind pass, std::uint32_t channel, const wchar_t* file, std::string_view reason);

}  // namespace pixelforge
