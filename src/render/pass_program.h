// The GL programs of a graph's passes: compiling, linking and the driver's logs.
#pragma once

#include <string>
#include <vector>

#include "document/shader_document.h"
#include "glsl/line_map.h"
#include "render/gl_handles.h"
#include "render/pass_slot.h"

namespace pixelforge {

struct IncludeContext;

/// Builds the programs of all passes side by side. Nothing is asked of the driver before `Finish`, so a
/// driver with several compiler threads works on all passes at the same time. The context is current
/// throughout.
class ProgramBuild {
public:
    /// Assembles the pass's text, which the slot then holds. The slot must outlive the build.
    void Add(PassSlot& slot, const ShaderDocument& document, IncludeContext* includes);

    void StartCompiling();
    void StartLinking();

    /// Waits for the driver, pass by pass. Each slot then holds its program, uniform locations and the
    /// driver's log, also written to the debugger output with positions in the author's lines. Throws a
    /// `LoadError` that names all failed passes and their stage; their slots keep text and log.
    void Finish();

private:
    struct Pass {
        PassSlot* slot;
        LineMap lines;
        GlShader fragmentShader;
        GlProgram program;
    };

    std::string FinishPass(Pass& pass) const;

    GlShader vertexShader_;  ///< shared by all programs
    std::vector<Pass> passes_;
};

}  // namespace pixelforge
