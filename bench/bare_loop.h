// The minimum needed to draw a shader: the module's sources, draws, waits and readback, and nothing else. The
// difference is the module's overhead.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "document/shader_document.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"

namespace pixelforge::bench {

/// In milliseconds.
struct LoadTimes {
    double source = 0;  ///< reading the document and assembling its passes
    double compile = 0;
    double link = 0;
    double targets = 0;
};

/// Supports only Image and Buffer passes whose channels read buffers. Throws std::runtime_error if a GL call
/// fails.
class BareLoop {
public:
    /// Creates window, bitmap and context, and makes the context current.
    BareLoop(std::int32_t width, std::int32_t height);
    ~BareLoop();
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;

    /// Replaces the loaded shader. Only iResolution and iFrame are set, not iTime.
    LoadTimes Load(const std::string& json);

    void MakeCurrent();
    void DrawFrame();

    preview::FramePixels Pixels() const { return surface_.Pixels(); }

private:
    struct Pass {
        std::uint32_t number;
        unsigned program = 0;
        unsigned textures[2] = {};
        unsigned framebuffers[2] = {};
        int frame = -1;
        int current = 0;
    };

    void CreateQuad();
    void Release();
    std::vector<std::string> AssembleSources(const std::string& json);
    void CreateTargets();
    void SetConstants(Pass& pass);
    void BindSources(const Pass& pass);
    void DrawPass(Pass& pass);
    Pass* Find(std::int32_t number);

    std::int32_t width_;
    std::int32_t height_;
    preview::HostWindow window_;
    preview::HostSurface surface_;
    HDC dc_;
    HGLRC context_;
    std::unique_ptr<ShaderDocument> document_;
    std::vector<Pass> passes_;
    int frame_ = 0;
};

}  // namespace pixelforge::bench
