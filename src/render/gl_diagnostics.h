// GL errors, compile status and info logs.
#pragma once

#include <cstdint>

#include "render/gl_handles.h"
#include "render/pass_slot.h"

namespace pixelforge {

/// Fetches one queued GL error, writes its text and a line end to the debugger output and returns its code;
/// 0, without output, if there is none.
std::uint32_t ReportGlError();

/// Hands `text` (NUL-terminated) to the driver's compiler, without asking for the result.
void StartCompile(GlName shader, const char* text);

/// Waits for the compiler. True if the shader compiled.
bool HasCompiled(GlName shader);

/// Both steps: compiles `text`. True if it compiled.
bool CompileShaderSource(GlName shader, const char* text);

/// Stores the shader's info log in the slot. An empty log leaves the previous one.
void CaptureInfoLog(GlName shader, PassSlot& slot);

/// The same for a program.
void CaptureProgramLog(GlName program, PassSlot& slot);

}  // namespace pixelforge
