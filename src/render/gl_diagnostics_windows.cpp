// GL errors, compile status and info logs.
#include "render/gl_diagnostics.h"

#include <GL/glew.h>

#include <iterator>

#include "base/debug_output.h"

namespace pixelforge {
namespace {

const char* ErrorText(GLenum code) noexcept {
    static constexpr const char* kTexts[] = {
        "GL_INVALID_ENUM: An unacceptable value is specified for an enumerated argument.",
        "GL_INVALID_VALUE: A numeric argument is out of range.",
        "GL_INVALID_OPERATION: The specified operation is not allowed in the current state.",
        "GL_STACK_OVERFLOW: This command would cause a stack overflow.",
        "GL_STACK_UNDERFLOW: This command would cause a stack underflow.",
        "GL_OUT_OF_MEMORY: There is not enough memory left to execute the command.",
        "GL_INVALID_FRAMEBUFFER_OPERATION: The framebuffer object is not complete.",
    };
    const GLenum index = code - GL_INVALID_ENUM;
    return index < std::size(kTexts) ? kTexts[index] : "Unknown error code.";
}

/// Fetches a log of `length` bytes, terminator included, with one of GL's two functions.
template <class Fetch>
void StoreLog(PassSlot& slot, GLint length, Fetch fetch) {
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
        WriteDebugText(ErrorText(code));
        WriteDebugText("\n");
    }
    return code;
}

void StartCompile(GlName shader, const char* text) {
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
}

bool HasCompiled(GlName shader) {
    GLint status = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    return status == 1;
}

bool CompileShaderSource(GlName shader, const char* text) {
    StartCompile(shader, text);
    return HasCompiled(shader);
}

void CaptureInfoLog(GlName shader, PassSlot& slot) {
    GLint length = 0;
    glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
    StoreLog(slot, length, [shader](GLsizei capacity, GLsizei* written, char* log) {
        glGetShaderInfoLog(shader, capacity, written, log);
    });
}

void CaptureProgramLog(GlName program, PassSlot& slot) {
    GLint length = 0;
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    StoreLog(slot, length, [program](GLsizei capacity, GLsizei* written, char* log) {
        glGetProgramInfoLog(program, capacity, written, log);
    });
}

}  // namespace pixelforge
