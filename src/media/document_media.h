// The media step: which files the inputs of a document may use, and loading them into memory.
#pragma once

#include <cstdint>
#include <string_view>

#include "document/shader_document.h"

namespace pixelforge {

struct InternetSession;

/// Restricts every `src` according to the document's origin. In a service document it is cut to the plain
/// file name after the last separator, so that it can only name a cached file; in a local document it keeps
/// its path. A name that may not be opened (see base/file.h) becomes empty; messages still show it.
void RestrictSources(ShaderDocument& document);

/// Finds the file of every texture, cube-map and volume channel on the local disk, in the cache or at the
/// service, each file once, replaces `src` with its path and gives the channel its medium, still to be
/// loaded. A channel without a file stays empty and is reported once; one with an empty `src` is skipped.
/// Always true.
bool LoadDocumentMedia(InternetSession* session, ShaderDocument& document);

/// Prepares the pixels of an input that has a medium for one more texture, and adds it to `mediaBytes`: reads
/// and decodes the file, unless its pixels are there already. Throws `LoadError`, without changes, if the
/// file cannot be shown or does not fit into the document's budget.
void LoadMedium(ShaderDocument& document, const PassInput& input);

/// Reports on the debugger output that a channel stays empty. `reason` is one clause of UTF-8.
void ReportEmptyChannel(PassKind pass, std::uint32_t channel, const wchar_t* file, std::string_view reason);

}  // namespace pixelforge
