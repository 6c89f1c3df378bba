// The loader's steps, in their fixed order.
#include "module/shader_loader.h"

#include <windows.h>

#include <exception>
#include <string>

#include "base/debug_output.h"
#include "base/text.h"
#include "glsl/include_preprocessor.h"
#include "module/controls.h"
#include "module/load_shader.h"
#include "module/module_instance.h"
#include "module/overlay.h"
#include "module/playlist.h"
#include "render/build_settings.h"
#include "render/gl_renderer.h"
#include "render/pass_graph.h"

namespace pixelforge {
namespace {

constexpr DWORD kNoPlaylistPauseMilliseconds = 10;

void DestroyRenderer(ModuleInstance& instance) {
    DestroyGlRenderer(HeapRecord<GlRenderer>(instance.renderer));
    instance.renderer = nullptr;
}

/// The host calls again at once after a failed load; without a playlist there is nothing to wait for, so
/// a short pause keeps that loop from eating a core.
bool PlaylistIsChosen(const ModuleInstance& instance, std::string& reason) {
    if (instance.playlistFiles && instance.playlistFiles->files.fileName[0]) {
        return true;
    }
    Sleep(kNoPlaylistPauseMilliseconds);
    reason = "no playlist is chosen";
    return false;
}

bool CreateRenderer(ModuleInstance& instance, const DrawContext& context, std::string& reason) {
    if (context.width < 1 || context.height < 1) {
        reason = "the host asks for a frame without pixels";
        return false;
    }
    SetBufferFormat(SwitchValue(instance, control::kFastBuffers));
    instance.renderer = CreateGlRenderer(instance.renderWindow, context.width, context.height).release();
    if (instance.renderer && instance.renderer->contextReady && instance.renderer->glewReady) {
        instance.errorFlag = 0;
        return true;
    }
    reason = "no usable OpenGL context";
    return false;
}

bool PickFromPlaylist(const ModuleInstance& instance, wchar_t (&id)[kShaderIdUnits], std::string& reason) {
    wchar_t path[kPathUnits];
    FormatBounded(path, kPathUnits, L"D:\\Moonreel\\Pixelforge\\Playlists\\%s",
                  instance.playlistFiles->files.fileName);
    if (PickShaderId(path, id)) {
        return true;
    }
    reason = "no identifier can be picked from the playlist " + ToUtf8(path);
    return false;
}

bool LoadDocument(ModuleInstance& instance, const wchar_t* id, std::string& reason) {
    if (LoadShaderById(instance.session, id, &instance.renderer->document, reason)) {
        return true;
    }
    reason = ToUtf8(id) + ": " + reason;
    return false;
}

/// A notice that is too long is dropped; the host then keeps what it was handed before.
void ShowOverlay(ModuleInstance& instance) {
    if (!ComposeInfoText(instance.renderer->document.info, instance.editorPath, instance.infoText)) {
        return;
    }
    if (instance.infoTextCallback) {
        instance.infoTextCallback(instance.infoText);
    }
}

bool BuildGraph(ModuleInstance& instance, const wchar_t* id, std::string& reason) {
    instance.renderer->hostWindow = instance.renderWindow;
    instance.renderer->includes = instance.includeState;
    if (instance.includeState) {
        instance.includeState->plainNamesOnly = instance.renderer->document.origin == DocumentOrigin::Service;
    }
    SetSampleExponent(WholeValue(instance, control::kMultiSample));
    if (BuildPassGraph(*instance.renderer, reason)) {
        return true;
    }
    reason = ToUtf8(id) + ": " + reason;
    return false;
}

bool RunSteps(ModuleInstance& instance, const DrawContext& context, std::string& reason) {
    wchar_t id[kShaderIdUnits];
    DestroyRenderer(instance);
    if (!PlaylistIsChosen(instance, reason) || !CreateRenderer(instance, context, reason) ||
        !PickFromPlaylist(instance, id, reason) || !LoadDocument(instance, id, reason)) {
        return false;
    }
    ShowOverlay(instance);
    return BuildGraph(instance, id, reason);
}

}  // namespace

bool RunLoader(ModuleInstance& instance, const DrawContext& context) {
    std::string reason;
    try {
        if (RunSteps(instance, context, reason)) {
            return true;
        }
    } catch (const std::exception& error) {
        reason = error.what();
    }
    instance.errorFlag = 1;
    WriteDebugLine("cannot load a shader: " + reason);
    return false;
}

}  // namespace pixelforge
