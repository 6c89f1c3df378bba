// A pass's GL program: compiling, linking and the driver's log.
#pragma once

#include "document/shader_document.h"
#include "render/gl_handles.h"
#include "render/pass_slot.h"

namespace pixelforge {

struct IncludeContext;

/// The vertex shader that all programs of a graph share. Throws `LoadError` if it does not compile.
GlShader CompileVertexStage();

/// Assembles the pass's text, compiles and links it. The slot then holds text, program, uniform locations and
/// the driver's log, also written to the debugger output with positions in the author's lines. After a
/// failure, a `LoadError` that names pass and stage, the slot keeps text and log but no GL object.
void BuildPassProgram(PassSlot& slot, const ShaderDocument& document, IncludeContext* includes,
                      const GlShader& vertexShader);

}  // namespace pixelforge
