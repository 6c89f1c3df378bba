// Creation and deletion of GL names.
#include "render/gl_handles.h"

#include <windows.h>

#include <GL/glew.h>

namespace pixelforge {

bool IsGlUsable() noexcept {
    // GLEW's pointers are process-wide: a later context that lacks the functions clears them for all.
    return wglGetCurrentContext() && glGenFramebuffers && glCreateProgram && glGenSamplers;
}

GlName CreateGlName(GlObject object) noexcept {
    GlName name = 0;
    switch (object) {
        case GlObject::Texture:
            glGenTextures(1, &name);
            break;
        case GlObject::Sampler:
            glGenSamplers(1, &name);
            break;
        case GlObject::Framebuffer:
            glGenFramebuffers(1, &name);
            break;
        case GlObject::Buffer:
            glGenBuffers(1, &name);
            break;
        case GlObject::VertexArray:
            glGenVertexArrays(1, &name);
            break;
        case GlObject::Program:
            return glCreateProgram();
        case GlObject::Shader:
            break;
    }
    return name;
}

void DeleteGlName(GlObject object, GlName name) noexcept {
    switch (object) {
        case GlObject::Texture:
            return glDeleteTextures(1, &name);
        case GlObject::Sampler:
            return glDeleteSamplers(1, &name);
        case GlObject::Framebuffer:
            return glDeleteFramebuffers(1, &name);
        case GlObject::Buffer:
            return glDeleteBuffers(1, &name);
        case GlObject::VertexArray:
            return glDeleteVertexArrays(1, &name);
        case GlObject::Program:
            return glDeleteProgram(name);
        case GlObject::Shader:
            return glDeleteShader(name);
    }
}

}  // namespace pixelforge
