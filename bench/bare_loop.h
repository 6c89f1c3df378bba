// The minimum needed to draw a shader: the module's sources, draws, waits and readback, and nothing else. The
// difference is the module's overhead.
#pragma once

#include <windows.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "document/shader_document.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"

namespace pixelforge::bench {

/// Milliseconds of a load's parts: "context", "text" (reading the document and assembling its passes),
/// "compile", "link", "media" and "targets".
using LoadTimes = std::map<std::string, double>;

class Stopwatch {
public:
    /// Milliseconds since construction or the last call.
    double Lap() {
        const auto now = std::chrono::steady_clock::now();
        return std::chrono::duration<double, std::milli>(now - std::exchange(begin_, now)).count();
    }

private:
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

/// Supports only Image and Buffer passes whose channels read buffers. Throws std::runtime_error if a GL call
/// fails.
class BareLoop {
public:
    /// Creates window and bitmap.
    BareLoop(std::int32_t width, std::int32_t height);
    ~BareLoop();
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;

    /// Replaces the loaded shader and the context, which is then current. Only iResolution and iFrame are
    /// set, not iTime.
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

    void CreateContext();
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
    HGLRC context_ = nullptr;
    std::unique_ptr<ShaderDocument> document_;
    std::vector<Pass> passes_;
    int frame_ = 0;
};

}  // namespace pixelforge::bench
