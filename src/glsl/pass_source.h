// Assembles the complete fragment shader of one pass.
#pragma once

#include <cstdint>

#include "base/heap.h"
#include "document/shader_document.h"

namespace pixelforge {

struct IncludeContext;
class LineMap;

/// The vertex shader of every program.
extern const char* const kVertexShaderSource;

/// Sets the "#version" line of every text assembled from now on, process-wide; initially "#version 330".
/// Called once a context exists.
void SetVersionLine(int major, int minor) noexcept;

/// The complete text of `pass`, NUL-terminated, owned by the caller, or null if an argument is null, memory
/// runs out, or an `#include` is malformed. Always leaves the table of virtual includes empty; the list of
/// included names remains until the next run. `lines`, if given, maps the result's lines to the author's
/// texts.
HeapText AssemblePassSource(const ShaderDocument* document, IncludeContext* includes, const RenderPass* pass,
                            LineMap* lines = nullptr);

}  // namespace pixelforge
