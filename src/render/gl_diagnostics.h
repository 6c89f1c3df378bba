// GL errors, compile status and info logs.
#pragma once

#include <cstdint>

#include "render/gl_handles.h"
#include "render/pass_slot.h"

namespace pixelforge {

/// Fetches one queued GL error, writes its text and a line end to the debugger output and returns its code;
/// 0, without output, if there is none.
std::uint32_t ReportGlError();

/// Compiles `text` (NUL-terminated). True if it compiled.
bool CompileShaderSource(GlName shader, const char* text);

/// Stores the shader's info log in the slot. An empty log leaves the previous one.
void CaptureInfoLog(GlName shader, PassSlot& slot);

/// The same for a program.
void CaptureProgramLog(GlName program, PassSlot& slot);

}  // namespace pixelforge
