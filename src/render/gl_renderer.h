// The engine object of a module instance: GL context, the shader's passes and the frame state.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/heap.h"
#include "document/shader_document.h"
#include "render/gl_handles.h"
#include "render/pass_slot.h"
#include "render/window_input.h"

struct HGLRC__;
struct HWND__;

namespace pixelforge {

struct IncludeContext;

/// A texture fed by a live input; created by the first channel that reads it.
struct LiveTexture {
    GlTexture texture;
    bool mipmapsStale;  ///< level 0 is newer than the other levels
};

/// Created zero-filled by `CreateGlRenderer`. The destructor releases the window's subclass, every GL object
/// and the context, and restores the caller's current context.
struct GlRenderer {
    std::int32_t contextReady;  ///< 1 once the context was created and made current
    std::uint8_t glewReady;     ///< 1 once the entry points are loaded; no GL call is made before
    GlFramebuffer outputFramebuffer;
    GlTexture outputTexture;
    std::uint32_t ownerThread;  ///< id of the thread that created the context; recorded only
    HGLRC__* context;
    HWND__* contextWindow;        ///< recorded only: the code reads `hostWindow`
    std::int32_t useGivenWindow;  ///< recorded only: always 1
    HWND__* hostWindow;           ///< carries the context; null for a hidden window
    PixelRect hostClientRect;     ///< recorded only: the code reads `resolution`
    PixelRect renderRect;         ///< recorded only: the code reads `resolution`
    float resolution[3];          ///< frame width and height in pixels, then 1
    PassSlot slots[kPassSlots];
    GlVertexArray vertexArray;
    GlBuffer vertexBuffer;
    LiveTexture keyboard;
    LiveTexture audio;
    LiveTexture webcam;

    ShaderDocument document;
    IncludeContext* includes;  ///< owned by the instance; set before the graph is built

    std::int32_t sampleExponent;  ///< this graph's targets have 2^n samples; 0 for plain textures
    std::uint32_t bufferFormat;   ///< internal format of this graph's flat targets
    std::int32_t tracksWindowSize;
    bool inputAttached;    ///< counted as a user of the subclass of `hostWindow`
    bool reportsResets;    ///< the context was created so that it is lost on a reset and reports that
    bool contextLost;      ///< only another renderer can draw again
    bool lossReported;     ///< see `ReportUndrawable`
    bool failureReported;  ///< see `ReportUndrawable`

    double exactTime;           ///< seconds of shader time
    float time;                 ///< `exactTime` for the shader: as a sum, a float stops growing after days
    float timeDelta;            ///< shader seconds of the last step
    float frameRate;            ///< frames per second since the graph was built
    std::int32_t frameCounter;  ///< -1 before the first frame and after a resize
    float mouse[4];
    float date[4];
    std::uint64_t startTick;            ///< system ticks (milliseconds) when the graph was built
    std::uint32_t seenKeyboardChanges;  ///< input counters as of the last upload or use
    std::uint32_t seenClicks;
    std::uint32_t seenWebcamPicture;

    GlRenderer() = default;
    GlRenderer(const GlRenderer&) = delete;
    GlRenderer& operator=(const GlRenderer&) = delete;
    ~GlRenderer();
};

/// Creates the context on `hostWindow` (null: on a hidden window), the full-screen quad and the window's
/// subclass, and leaves the context current. Null if the heap is exhausted. If the context or the entry
/// points are unavailable, `contextReady` or `glewReady` stays 0 and no GL call is made.
HeapRecord<GlRenderer> CreateGlRenderer(HWND__* hostWindow, std::int32_t width, std::int32_t height);

/// Releases everything; null is allowed.
void DestroyGlRenderer(HeapRecord<GlRenderer> renderer) noexcept;

/// Writes "cannot draw: " and why, unless this renderer has written such a line before. If the context is
/// lost, that is the reason, and it is written even after another one.
void ReportUndrawable(GlRenderer& renderer, std::string_view reason);

/// Sets the frame's size in pixels.
void SetResolution(GlRenderer& renderer, std::int32_t width, std::int32_t height) noexcept;

}  // namespace pixelforge
