// A pass's GL program: compile, link, and what the driver says about it.
#pragma once

#include <string>

#include "document/shader_document.h"
#include "render/gl_handles.h"
#include "render/pass_slot.h"

namespace pixelforge {

struct IncludeContext;

/// The vertex shader that all programs of a graph share; empty, with a line in `reason`, when it fails.
GlShader CompileVertexStage(std::string& reason);

/// Assembles the pass's text, compiles and links it. The slot then holds text, program, uniform locations
/// and the driver's log, which also goes to the debugger output with positions in the author's lines. After
/// a failure the slot keeps text and log but no GL object; `reason` names pass and stage.
bool BuildPassProgram(PassSlot& slot, const ShaderDocument& document, IncludeContext* includes,
                      const GlShader& vertexShader, std::string& reason);

}  // namespace pixelforge
