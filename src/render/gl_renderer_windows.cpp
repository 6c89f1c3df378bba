// Creation and destruction of the engine object.
#include "render/gl_renderer.h"

#include <windows.h>

#include <GL/glew.h>

#include <string>

#include "base/debug_output.h"
#include "render/gl_context.h"
#include "render/gl_diagnostics.h"
#include "render/input_state.h"
#include "render/live_textures.h"
#include "render/window_input.h"

namespace pixelforge {
namespace {

struct QuadVertex {
    float position[2];
    float texCoord[2];
};

constexpr QuadVertex kQuad[6] = {
    {{-1, -1}, {0, 0}}, {{-1, 1}, {0, 1}}, {{1, -1}, {1, 0}},
    {{1, -1}, {1, 0}},  {{-1, 1}, {0, 1}}, {{1, 1}, {1, 1}},
};

void EnableAttribute(GLuint index, std::size_t offset) noexcept {
    glVertexAttribPointer(index, 2, GL_FLOAT, GL_FALSE, sizeof(QuadVertex),
                          reinterpret_cast<const void*>(offset));
    glEnableVertexAttribArray(index);
}

/// Two triangles that cover the whole target.
void CreateQuad(GlRenderer& renderer) {
    renderer.vertexArray = GlVertexArray::Create();
    glBindVertexArray(renderer.vertexArray.Get());
    renderer.vertexBuffer = GlBuffer::Create();
    glBindBuffer(GL_ARRAY_BUFFER, renderer.vertexBuffer.Get());
    glBufferData(GL_ARRAY_BUFFER, sizeof(kQuad), kQuad, GL_STATIC_DRAW);
    EnableAttribute(0, offsetof(QuadVertex, position));
    EnableAttribute(1, offsetof(QuadVertex, texCoord));
    glBindVertexArray(0);
    ReportGlError();
}

/// Filters across cube edges, which would otherwise show as seams.
void SmoothCubeEdges() {
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    ReportGlError();
}

}  // namespace

HeapRecord<GlRenderer> CreateGlRenderer(HWND hostWindow, std::int32_t width, std::int32_t height) {
    HeapRecord<GlRenderer> renderer = NewHeapRecord<GlRenderer>();
    if (!renderer) {
        return nullptr;
    }
    renderer->hostWindow = hostWindow;
    renderer->hostClientRect = ClientRectOf(hostWindow);
    renderer->renderRect = PixelRect{0, 0, width, height};
    SetResolution(*renderer, width, height);
    renderer->seenClicks = HostInput().ReadMouse().clicks;
    if (CreateContext(*renderer, hostWindow)) {
        CreateQuad(*renderer);
        SmoothCubeEdges();
    }
    renderer->inputAttached = AttachWindowInput(hostWindow);
    return renderer;
}

GlRenderer::~GlRenderer() {
    if (inputAttached) {
        DetachWindowInput(hostWindow);
    }
    CurrentContextKeeper keeper(hostWindow);
    keeper.Forget(context);
    MakeCurrentForRelease(*this);
    // Delete every name now, while no foreign context is current.
    for (PassSlot& slot : slots) {
        slot = PassSlot{};
    }
    vertexArray.Reset();
    vertexBuffer.Reset();
    ReleaseLiveTextures(*this);
    ReleaseContext(*this);
}

void DestroyGlRenderer(HeapRecord<GlRenderer> renderer) noexcept {
    renderer.reset();
}

void ReportUndrawable(GlRenderer& renderer, std::string_view reason) {
    const bool lost = IsContextLost(renderer);
    if (!std::exchange(lost ? renderer.lossReported : renderer.failureReported, true)) {
        WriteDebugLine("cannot draw: " + std::string(lost ? kContextLost : reason));
    }
}

void SetResolution(GlRenderer& renderer, std::int32_t width, std::int32_t height) noexcept {
    renderer.resolution[0] = static_cast<float>(width);
    renderer.resolution[1] = static_cast<float>(height);
    renderer.resolution[2] = 1.0F;
}

}  // namespace pixelforge
