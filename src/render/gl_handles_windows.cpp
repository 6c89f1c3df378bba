// Owners of GL names: creation and deletion.
#include "render/gl_handles.h"

#include <windows.h>

#include <GL/glew.h>

namespace pixelforge {

bool IsGlUsable() noexcept {
    // GLEW's pointers are process-wide: a later context without the functions takes them from all.
    return wglGetCurrentContext() != nullptr && glGenFramebuffers != nullptr && glCreateProgram != nullptr &&
           glGenSamplers != nullptr;
}

void DeleteTextureName(GlName name) noexcept {
    glDeleteTextures(1, &name);
}

void DeleteSamplerName(GlName name) noexcept {
    glDeleteSamplers(1, &name);
}

void DeleteFramebufferName(GlName name) noexcept {
    glDeleteFramebuffers(1, &name);
}

void DeleteBufferName(GlName name) noexcept {
    glDeleteBuffers(1, &name);
}

void DeleteVertexArrayName(GlName name) noexcept {
    glDeleteVertexArrays(1, &name);
}

void DeleteProgramName(GlName name) noexcept {
    glDeleteProgram(name);
}

void DeleteShaderName(GlName name) noexcept {
    glDeleteShader(name);
}

GlTexture NewTexture() noexcept {
    GlName name = 0;
    glGenTextures(1, &name);
    return GlTexture(name);
}

GlSampler NewSampler() noexcept {
    GlName name = 0;
    glGenSamplers(1, &name);
    return GlSampler(name);
}

GlFramebuffer NewFramebuffer() noexcept {
    GlName name = 0;
    glGenFramebuffers(1, &name);
    return GlFramebuffer(name);
}

GlBuffer NewBuffer() noexcept {
    GlName name = 0;
    glGenBuffers(1, &name);
    return GlBuffer(name);
}

GlVertexArray NewVertexArray() noexcept {
    GlName name = 0;
    glGenVertexArrays(1, &name);
    return GlVertexArray(name);
}

}  // namespace pixelforge
