// The engine object of a module instance: its GL context, the passes of its shader and their frame state.
#pragma once

#include <cstdint>

#include "base/heap.h"
#include "document/shader_document.h"
#include "render/gl_handles.h"
#include "render/pass_slot.h"
#include "render/pixel_rect.h"

struct HGLRC__;
struct HWND__;

namespace pixelforge {

struct IncludeContext;

/// Without a name until a channel reads it.
struct LiveTexture {
    GlTexture texture;
    bool mipmapsStale;  ///< uploaded since the mipmaps were made
};

/// Comes zero-filled from `CreateGlRenderer`. Its end releases the window's subclass, every GL object and
/// the context, and puts the caller's current context back.
struct GlRenderer {
    std::int32_t contextReady;  ///< 1 once the context was created and made current
    std::uint8_t glewReady;     ///< 1 once the entry points were found; without it no GL call is made
    GlFramebuffer outputFramebuffer;
    GlTexture outputTexture;
    std::uint32_t ownerThread;  ///< id of the thread that created the context
    HGLRC__* context;
    HWND__* contextWindow;  ///< the window whose pixel format the context was created with
    std::int32_t useGivenWindow;
    HWND__* hostWindow;
    PixelRect hostClientRect;
    PixelRect renderRect;
    float resolution[3];  ///< width, height in pixels, 1
    PassSlot slots[kPassSlots];
    GlVertexArray vertexArray;
    GlBuffer vertexBuffer;
    LiveTexture keyboard;
    LiveTexture audio;
    LiveTexture webcam;

    ShaderDocument document;
    IncludeContext* includes;  ///< the instance's; set before the graph is built

    std::int32_t sampleExponent;  ///< targets of this graph have 2^n samples, 0 for plain textures
    std::uint32_t bufferFormat;   ///< internal format of the flat targets of this graph
    std::int32_t tracksWindowSize;
    HWND__* inputWindow;  ///< the window whose subclass this renderer is a user of, or null

    float time;                 ///< seconds of shader time
    float timeDelta;            ///< shader seconds of the last step
    float frameRate;            ///< frames per second since the graph was built
    std::int32_t frameCounter;  ///< -1 before the first frame and after a resize
    float mouse[4];
    float date[4];
    std::uint64_t startTick;            ///< system ticks (milliseconds) when the graph was built
    std::uint32_t seenKeyboardChanges;  ///< input state that this renderer has taken in already
    std::uint32_t seenClicks;
    std::uint32_t seenWebcamPicture;

    GlRenderer() = default;
    GlRenderer(const GlRenderer&) = delete;
    GlRenderer& operator=(const GlRenderer&) = delete;
    ~GlRenderer();
};

/// Creates the context on `hostWindow` (null: on a hidden window), the full-screen quad and the window's
/// subclass, and leaves the context current. Null when the heap is exhausted. A context or entry points
/// that cannot be had leave `contextReady` or `glewReady` at 0, and no GL call is made then.
HeapRecord<GlRenderer> CreateGlRenderer(HWND__* hostWindow, std::int32_t width, std::int32_t height);

/// Releases everything; null is accepted.
void DestroyGlRenderer(HeapRecord<GlRenderer> renderer) noexcept;

}  // namespace pixelforge
