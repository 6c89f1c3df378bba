// Compiling and linking a pass's program.
#include "render/pass_program.h"

#include <GL/glew.h>

#include <string>
#include <string_view>
#include <utility>

#include "base/debug_output.h"
#include "base/load_error.h"
#include "glsl/info_log.h"
#include "glsl/line_map.h"
#include "glsl/pass_source.h"
#include "render/gl_diagnostics.h"

namespace pixelforge {
namespace {

void ClearLog(PassSlot& slot) noexcept {
    slot.infoLog.reset();
    slot.infoLogLength = 0;
}

/// Writes the slot's log, if any; drivers also warn about programs that compile.
void WriteLog(const PassSlot& slot, const LineMap& lines) {
    if (!slot.infoLog || slot.infoLogLength <= 0) {
        return;
    }
    const std::string_view log(slot.infoLog.get(), static_cast<std::size_t>(slot.infoLogLength));
    for (const std::string& line : MapInfoLog(PassNarrowName(slot.number), log, slot.source.get(), lines)) {
        WriteDebugLine(line);
    }
}

GlShader CompileFragmentStage(PassSlot& slot, const LineMap& lines) {
    GlShader shader(glCreateShader(GL_FRAGMENT_SHADER));
    const bool compiled = CompileShaderSource(shader.Get(), slot.source.get());
    CaptureInfoLog(shader.Get(), slot);
    WriteLog(slot, lines);
    ReportGlError();
    return compiled ? std::move(shader) : GlShader();
}

/// Detaches the shaders, so that their owners can delete them.
GlProgram LinkProgram(PassSlot& slot, GlName vertexShader, GlName fragmentShader, const LineMap& lines) {
    GlProgram program = GlProgram::Create();
    glAttachShader(program.Get(), vertexShader);
    glAttachShader(program.Get(), fragmentShader);
    glLinkProgram(program.Get());
    GLint status = 0;
    glGetProgramiv(program.Get(), GL_LINK_STATUS, &status);
    glDetachShader(program.Get(), vertexShader);
    glDetachShader(program.Get(), fragmentShader);
    if (status != 1) {
        ClearLog(slot);
        CaptureProgramLog(program.Get(), slot);
        WriteLog(slot, lines);
    }
    ReportGlError();
    return status == 1 ? std::move(program) : GlProgram();
}

UniformLocations FindUniforms(GlName program) {
    const auto find = [program](const char* name) { return glGetUniformLocation(program, name); };
    UniformLocations found = {};
    found.resolution = find("resolution");
    found.time = find("time");
    found.mouse = find("mouse");
    found.iResolution = find("iResolution");
    found.iTime = find("iTime");
    found.iTimeDelta = find("iTimeDelta");
    found.iFrameRate = find("iFrameRate");
    found.iFrame = find("iFrame");
    found.iDate = find("iDate");
    found.iMouse = find("iMouse");
    found.iChannelTime = find("iChannelTime");
    found.iChannelResolution = find("iChannelResolution");
    found.cmCornerVertices = find("cmCornerVertices");
    static constexpr const char* kChannelNames[kChannels] = {"iChannel0", "iChannel1", "iChannel2",
                                                             "iChannel3"};
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        found.iChannel[channel] = find(kChannelNames[channel]);
    }
    return found;
}

[[noreturn]] void Fail(const PassSlot& slot, const char* what) {
    throw LoadError(std::string(PassNarrowName(slot.number)) + what);
}

}  // namespace

GlShader CompileVertexStage() {
    GlShader shader(glCreateShader(GL_VERTEX_SHADER));
    const bool compiled = CompileShaderSource(shader.Get(), kVertexShaderSource);
    ReportGlError();
    if (!compiled) {
        throw LoadError("the vertex shader does not compile");
    }
    return shader;
}

void BuildPassProgram(PassSlot& slot, const ShaderDocument& document, IncludeContext* includes,
                      const GlShader& vertexShader) {
    LineMap lines;
    ClearLog(slot);
    slot.source = AssemblePassSource(&document, includes, &document.passes[slot.number], &lines);
    if (!slot.source) {
        throw LoadError(AssemblyFailure(PassNarrowName(slot.number), lines));
    }
    const GlShader fragmentShader = CompileFragmentStage(slot, lines);
    if (!fragmentShader) {
        Fail(slot, " does not compile");
    }
    slot.program = LinkProgram(slot, vertexShader.Get(), fragmentShader.Get(), lines);
    if (!slot.program) {
        Fail(slot, " does not link");
    }
    slot.uniforms = FindUniforms(slot.program.Get());
}

}  // namespace pixelforge
