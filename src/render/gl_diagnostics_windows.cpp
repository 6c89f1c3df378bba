// What GL reports: errors, compile status and info logs.
#include "render/gl_diagnostics.h"

#include <GL/glew.h>

#include "base/debug_output.h"
#include "render/gl_error_text.h"

namespace pixelforge {

namespace {

/// Fetches a log of `length` bytes, terminator included, by one of GL's two functions.
template <class Fetch>
void KeepLog(PassSlot& slot, GLint length, Fetch fetch) {
    if (length <= 0) {
        return;
    }
    slot.infoLog = AllocateHeapText(static_cast<std::size_t>(length));
    slot.infoLogLength = 0;
    if (slot.infoLog) {
        fetch(length, &slot.infoLogLength, slot.infoLog.get());
    }
}

}  // namespace

std::uint32_t ReportGlError() {
    const GLenum code = glGetError();
    if (code != GL_NO_ERROR) {
        WriteDebugText(GlErrorText(code));
        WriteDebugText("\n");
    }
    return code;
}

bool CompileShaderSource(GlName shader, const char* text) {
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint status = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    return status == 1;
}

void CaptureInfoLog(GlName shader, PassSlot& slot) {
    GLint length = 0;
    glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
    KeepLog(slot, length, [shader](GLsizei capacity, GLsizei* written, char* log) {
        glGetShaderInfoLog(shader, capacity, written, log);
    });
}

void CaptureProgramLog(GlName program, PassSlot& slot) {
    GLint length = 0;
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    KeepLog(slot, length, [program](GLsizei capacity, GLsizei* written, char* log) {
        glGetProgramInfoLog(program, capacity, written, log);
    });
}

}  // namespace pixelforge
