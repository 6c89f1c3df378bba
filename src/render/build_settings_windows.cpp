// Process-wide settings of the next pass graph.
#include "render/build_settings.h"

#include <GL/glew.h>

#include "render/gl_handles.h"

namespace pixelforge {

namespace {

std::uint32_t bufferFormat = GL_RGBA32F;
std::int32_t sampleExponent = 0;

}  // namespace

void SetBufferFormat(bool fastBuffers) noexcept {
    bufferFormat = fastBuffers ? GL_RGBA8 : GL_RGBA32F;
}

std::uint32_t BufferFormat() noexcept {
    return bufferFormat;
}

void SetSampleExponent(std::int32_t exponent) noexcept {
    if (exponent < 0 || exponent > 30 || !IsGlUsable()) {
        return;
    }
    GLint highest = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &highest);
    if (1 << exponent <= highest) {
        sampleExponent = exponent;
    }
}

std::int32_t SampleExponent() noexcept {
    return sampleExponent;
}

}  // namespace pixelforge
