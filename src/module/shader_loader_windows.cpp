// The loader's steps, in their fixed order.
#include "module/shader_loader.h"

#include <windows.h>

#include "base/debug_output.h"
#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "glsl/include_table.h"
#include "module/controls.h"
#include "module/module_instance.h"
#include "module/overlay.h"
#include "module/playlist.h"
#include "render/gl_context.h"
#include "render/gl_renderer.h"
#include "render/pass_graph.h"

namespace pixelforge {
namespace {

constexpr DWORD kNoPlaylistPauseMilliseconds = 10;

void DestroyRenderer(ModuleInstance& instance) {
    DestroyGlRenderer(HeapRecord<GlRenderer>(instance.renderer));
    instance.renderer = nullptr;
}

/// The host retries a failed load immediately; the pause keeps it from busy-waiting for a playlist.
void RequirePlaylist(const ModuleInstance& instance) {
    if (!instance.playlistFiles || !instance.playlistFiles->files.fileName[0]) {
        Sleep(kNoPlaylistPauseMilliseconds);
        throw LoadError("no playlist is selected");
    }
}

void CreateRenderer(ModuleInstance& instance, const DrawContext& context) {
    if (context.width < 1 || context.height < 1) {
        throw LoadError("the host's frame has no pixels");
    }
    SetBufferFormat(SwitchValue(instance, control::kFastBuffers));
    instance.renderer = CreateGlRenderer(instance.renderWindow, context.width, context.height).release();
    if (!instance.renderer) {
        throw LoadError("out of memory");
    }
    RequireUsableContext(*instance.renderer);
    instance.errorFlag = 0;
}

/// Why no line was picked; ends where the path follows.
std::string FaultOfPlaylist(const wchar_t* path) {
    std::uint32_t size = 0;
    if (!ReadWholeFile(path, &size)) {
        return "cannot read the playlist ";
    }
    return size == 0 ? "empty playlist: "
                     : "no complete line of at most 19 characters picked from the playlist ";
}

void PickFromPlaylist(const ModuleInstance& instance, wchar_t (&id)[kShaderIdUnits]) {
    wchar_t path[kPathUnits];
    if (FormatBounded(path, kPathUnits, L"D:\\Moonreel\\Pixelforge\\Playlists\\%s",
                      instance.playlistFiles->files.fileName) != kFormatComplete) {
        throw LoadError("the playlist's path is too long: " + ToUtf8(path));
    }
    if (!IsExistingFile(path)) {
        throw LoadError("no such playlist: " + ToUtf8(path));
    }
    if (!PickShaderId(path, id)) {
        throw LoadError(FaultOfPlaylist(path) + ToUtf8(path));
    }
}

void LoadDocument(ModuleInstance& instance, const wchar_t* id) {
    std::string reason;
    if (!LoadShaderById(instance.session, id, &instance.renderer->document, reason)) {
        throw LoadError(reason);
    }
}

/// A notice that is too long is dropped; the host then keeps the previous one.
void ShowOverlay(ModuleInstance& instance) {
    if (!ComposeInfoText(instance.renderer->document.info, instance.editorPath, instance.infoText)) {
        return;
    }
    if (instance.infoTextCallback) {
        instance.infoTextCallback(instance.infoText);
    }
}

void BuildGraph(ModuleInstance& instance) {
    instance.renderer->includes = instance.includeState;
    if (instance.includeState) {
        instance.includeState->plainNamesOnly = instance.renderer->document.origin == DocumentOrigin::Service;
    }
    // The host's overlay callback may have made another context current.
    if (!IsRendererCurrent(*instance.renderer)) {
        MakeRendererCurrent(*instance.renderer, instance.renderWindow);
    }
    SetSampleExponent(WholeValue(instance, control::kMultiSample));
    BuildPassGraph(*instance.renderer);
}

/// `id` receives the picked identifier.
void RunSteps(ModuleInstance& instance, const DrawContext& context, wchar_t (&id)[kShaderIdUnits]) {
    DestroyRenderer(instance);
    RequirePlaylist(instance);
    CreateRenderer(instance, context);
    PickFromPlaylist(instance, id);
    LoadDocument(instance, id);
    ShowOverlay(instance);
    BuildGraph(instance);
}

}  // namespace

bool RunLoader(ModuleInstance& instance, const DrawContext& context) {
    wchar_t id[kShaderIdUnits] = {};
    std::string reason = FailureOf([&] { RunSteps(instance, context, id); });
    if (reason.empty()) {
        return true;
    }
    if (instance.renderer && IsContextLost(*instance.renderer)) {
        reason = kContextLost;
    }
    instance.errorFlag = 1;
    WriteDebugLine("cannot load a shader: " + (id[0] ? ToUtf8(id) + ": " : "") + reason);
    return false;
}

}  // namespace pixelforge
