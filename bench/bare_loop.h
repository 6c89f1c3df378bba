// The least that drawing a shader takes: the module's texts, its draws, its waits and its read-back, and
// nothing else. What the module does beyond that shows as the difference.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "document/shader_document.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"

namespace pixelforge::bench {

/// Milliseconds.
struct LoadTimes {
    double text = 0;  ///< reading the document and assembling its passes
    double compile = 0;
    double link = 0;
    double targets = 0;
};

/// Draws Image and flat buffers whose channels read buffers; nothing else that a document can hold. Ends the
/// program when the driver refuses something.
class BareLoop {
public:
    /// Makes window, bitmap and context; the context is current behind it.
    BareLoop(std::int32_t width, std::int32_t height);
    ~BareLoop();
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;

    /// Replaces what was loaded before. Time stands still: only iResolution and iFrame are set.
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
    std::vector<std::string> AssembleTexts(const std::string& json);
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
