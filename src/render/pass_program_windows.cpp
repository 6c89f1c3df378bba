// Compiling and linking a pass's program.
#include "render/pass_program.h"

#include <GL/glew.h>

#include <string>
#include <string_view>
#include <utility>

#include "base/debug_output.h"
#include "base/load_error.h"
#include "glsl/info_log.h"
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

bool CheckCompiled(PassSlot& slot, GlName fragmentShader, const LineMap& lines) {
    const bool compiled = HasCompiled(fragmentShader);
    CaptureInfoLog(fragmentShader, slot);
    WriteLog(slot, lines);
    ReportGlError();
    return compiled;
}

bool CheckLinked(PassSlot& slot, GlName program, const LineMap& lines) {
    GLint status = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &status);
    if (status != 1) {
        ClearLog(slot);
        CaptureProgramLog(program, slot);
        WriteLog(slot, lines);
    }
    ReportGlError();
    return status == 1;
}

/// By default a driver may use fewer threads than it could.
void AllowAllCompilerThreads() {
    if (glewGetExtension("GL_KHR_parallel_shader_compile") && glMaxShaderCompilerThreadsKHR) {
        glMaxShaderCompilerThreadsKHR(0xFFFFFFFFU);
    }
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

}  // namespace

void ProgramBuild::Add(PassSlot& slot, const ShaderDocument& document, IncludeContext* includes) {
    Pass& pass = passes_.emplace_back();
    pass.slot = &slot;
    ClearLog(slot);
    slot.source = AssemblePassSource(&document, includes, &document.passes[slot.number], &pass.lines);
}

void ProgramBuild::StartCompiling() {
    AllowAllCompilerThreads();
    vertexShader_ = GlShader(glCreateShader(GL_VERTEX_SHADER));
    StartCompile(vertexShader_.Get(), kVertexShaderSource);
    for (Pass& pass : passes_) {
        if (pass.slot->source) {
            pass.fragmentShader = GlShader(glCreateShader(GL_FRAGMENT_SHADER));
            StartCompile(pass.fragmentShader.Get(), pass.slot->source.get());
        }
    }
}

/// A program whose shader does not compile is linked too; it only fails.
void ProgramBuild::StartLinking() {
    for (Pass& pass : passes_) {
        if (pass.fragmentShader) {
            pass.program = GlProgram::Create();
            glAttachShader(pass.program.Get(), vertexShader_.Get());
            glAttachShader(pass.program.Get(), pass.fragmentShader.Get());
            glLinkProgram(pass.program.Get());
        }
    }
}

void ProgramBuild::Finish() {
    const bool vertexCompiled = HasCompiled(vertexShader_.Get());
    ReportGlError();
    if (!vertexCompiled) {
        throw LoadError("the vertex shader does not compile");
    }
    std::string faults;
    for (Pass& pass : passes_) {
        const std::string fault = FinishPass(pass);
        if (!fault.empty()) {
            faults += (faults.empty() ? "" : ", ") + fault;
        }
    }
    if (!faults.empty()) {
        throw LoadError(faults);
    }
}

/// Returns the fault; empty on success. Detaches the shaders, so that their owners can delete them.
std::string ProgramBuild::FinishPass(Pass& pass) const {
    PassSlot& slot = *pass.slot;
    const std::string name = PassNarrowName(slot.number);
    if (!slot.source) {
        return AssemblyFailure(name, pass.lines);
    }
    if (!CheckCompiled(slot, pass.fragmentShader.Get(), pass.lines)) {
        return name + " does not compile";
    }
    if (!CheckLinked(slot, pass.program.Get(), pass.lines)) {
        return name + " does not link";
    }
    glDetachShader(pass.program.Get(), vertexShader_.Get());
    glDetachShader(pass.program.Get(), pass.fragmentShader.Get());
    slot.program = std::move(pass.program);
    slot.uniforms = FindUniforms(slot.program.Get());
    return {};
}

}  // namespace pixelforge
