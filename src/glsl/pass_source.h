// Turns one pass of a document into a complete fragment-shader text.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/heap.h"
#include "document/shader_document.h"

namespace pixelforge {

struct IncludeContext;
class LineMap;

/// The vertex shader of every program.
extern const char* const kVertexShaderSource;

/// The "#version" line that begins every text assembled from now on; process-wide, initially
/// "#version 330". Written once a GL context has told its version.
const char* VersionLine() noexcept;
void SetVersionLine(int major, int minor) noexcept;

/// The complete text of `pass`, NUL-terminated, owned by the caller, or null when an argument is
/// missing, a block cannot be allocated, or an `#include` is malformed. The table of virtual includes is
/// left empty in every case; the list of included names tells of this run until the next one. `lines`,
/// when given, maps the result's lines to the author's texts.
HeapText AssemblePassSource(const ShaderDocument* document, IncludeContext* includes, const RenderPass* pass,
                            LineMap* lines = nullptr);

}  // namespace pixelforge
